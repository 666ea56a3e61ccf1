#!/usr/bin/env bash
# textstat_test.sh COMMAND...: compares textstat with wc, and checks what it says of files that it cannot read.
set -euo pipefail
textstat=("$@")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

fail() {
    echo "$*"
    exit 1
}

: >empty
printf 'no end of line' >unfinished
printf ' \t\n\v\f\r one\ttwo\vthree\ffour\rfive \n\n' >blanks
# Words and lines across the borders of the 64 KB pieces.
head -c 65535 /dev/zero | tr '\0' x >border
printf 'y\nz' >>border
head -c 300000 /dev/zero | tr '\0' 'w' | fold -w 7 >lines
ln -s lines link
for files in empty unfinished blanks border lines "empty unfinished blanks border lines link"; do
    # shellcheck disable=SC2086
    diff <("${textstat[@]}" $files) <(LC_ALL=C wc $files) || fail "differs from wc for $files"
done

printf 'a b\n' >'two words'
"${textstat[@]}" '"two words"' border >out || fail "a quoted name is not read"
grep -q '2 4 two words$' <(tr -s ' ' <out) || fail "a quoted name is not counted: $(cat out)"

mkdir directory
status=0
"${textstat[@]}" missing empty directory unfinished >out 2>err || status=$?
[ $status -eq 2 ] || fail "two files failed, but the exit status is $status"
diff out - <<'END' || fail "the readable files are not counted beside the others"
 0  0  0 empty
 0  4 14 unfinished
 0  4 14 total
END
diff err - <<'END' || fail "the failures are not reported"
textstat: missing: error 2 (ENOENT)
textstat: directory: error 21 (EISDIR)
END

status=0
"${textstat[@]}" $(seq 300) 2>/dev/null || status=$?
[ $status -eq 255 ] || fail "300 files failed, but the exit status is $status"
echo "counts like wc"
