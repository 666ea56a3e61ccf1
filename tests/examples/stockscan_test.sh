#!/usr/bin/env bash
# stockscan_test.sh COMMAND...: runs stockscan over small inputs, each with its own settings, and compares results and
# exit statuses with those expected.
set -euo pipefail
stockscan=("$@")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
mkdir -p var/zel var/lib/stockscan
registry=var/zel/registry.xml
files=var/lib/stockscan

fail() {
    echo "$*"
    cat log
    exit 1
}

scan() { # expected exit status
    local status=0
    "${stockscan[@]}" "$work" 2>log || status=$?
    [ "$status" -eq "$1" ] || fail "exit status $status, not $1"
}

set_value() { # name, data (numbers are stored in hexadecimal)
    grep -q "Name=\"$1\"" $registry || fail "there is no setting $1"
    sed -i "s|\(Name=\"$1\" value=\)\"[^\"]*\"|\1\"$2\"|" $registry
}

section() { # name
    sed -n "/^$1\$/,/^\$/p" $files/report.txt | sed 1,2d
}

cat >$files/catalogue.xml <<'END'
<catalogue>
	<article code="2000000000008" price="0.05"><name>Screw &amp; nut</name></article>
	<article code="2000000000015" price="1234.5"><name>Engine</name></article>
	<article code="2000000000022" price="7"/>
</catalogue>
END

scan 2 # there is no input yet
grep -q 'cannot read \\var\\lib\\stockscan\\scans.txt: error 2$' log || fail "the missing file is not named"
for setting in Input Catalogue Report PlugIn StopFile Workers QueueLength ErrorLimit Runs; do
    grep -q "Name=\"$setting\"" $registry || fail "the first run has not created the setting $setting"
done

printf '2000000000015\r\n\n \t\r\n 2000000000008\t\n2000000000015\n2000000000022' >$files/scans.txt
scan 0
diff <(section ARTICLES) - <<'END' || fail "the articles are not counted"
     1        0.05  2000000000008  Screw & nut
     2     2469.00  2000000000015  Engine
     1        7.00  2000000000022  (no name)

END
diff <(section TOTALS; tail -n 5 $files/report.txt) - <<'END' || fail "the totals are wrong"
articles             4, 3 different
unknown codes        0, 0 different
bad codes            0, 0 different
amount          2476.05
lines                6, 2 blank
articles             4, 3 different
unknown codes        0, 0 different
bad codes            0, 0 different
amount          2476.05
END
grep -q ', run 2$' $files/report.txt || fail "the second run does not count as run 2"

: >$files/scans.txt
scan 0
grep -q '^lines                0, 0 blank$' $files/report.txt || fail "an empty input has lines"

head -c 9999 /dev/zero | tr '\0' 7 >$files/scans.txt # longer than any code and any piece that is read
printf "\n2000000000039\n2000000000014\n'\n200000000001\n20000000000155\n" >>$files/scans.txt
scan 1
diff <(section 'UNKNOWN CODES') <(printf '     1  2000000000039\n\n') || fail "the unknown code is not listed"
diff <(section 'BAD CODES' | cut -c -60) - <<'END' || fail "the bad codes are not listed"
     1  malformed          '
     1  malformed          200000000001
     1  wrong check digit  2000000000014
     1  malformed          20000000000155
     1  malformed          777777777777777777777777777777777

END

# As many errors as the limit are allowed, one more is not.
set_value ErrorLimit 6
scan 1
cp $files/report.txt last
set_value ErrorLimit 5
scan 3
cmp $files/report.txt last || fail "a run that was stopped has changed the report"
set_value ErrorLimit 0

# Out of their ranges: the nearest number; of another type: the default, which is stored.
set_value Workers 0
set_value QueueLength 0
scan 1
set_value Workers ffffffff
set_value QueueLength ffffffff
sed -i '/Name="Report"/s/REG_SZ/REG_DWORD/' $registry
scan 1
diff <(sed 2d last) <(sed 2d $files/report.txt) || fail "the report depends on the workers"
grep -q 'worker 32:' log || fail "there are not 32 workers"
grep 'Name="Report"' $registry | grep -q 'report.txt.*REG_SZ' || fail "the setting is not mended"

: >$files/stop
scan 3
rm $files/stop

cp $files/catalogue.xml whole.xml
head -c 100 whole.xml >$files/catalogue.xml
scan 2
cp whole.xml $files/catalogue.xml
rm $files/report.txt
mkdir $files/report.txt
scan 2
rmdir $files/report.txt
[ ! -e $files/report.txt.new ] || fail "a report that could not be put into place is left"
set_value PlugIn none.dll
scan 2
echo "counts what was scanned"
