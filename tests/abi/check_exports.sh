#!/bin/sh
# check_exports.sh NM LIBRARY DIRECTORY: compares the names that LIBRARY exports with the lists in DIRECTORY
# (one name a line, C++ names demangled; one list for each folder of the library).
set -eu
export LC_ALL=C
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$1" -D --defined-only -C "$2" | sed -E 's/^[0-9a-f]+ [A-Za-z] //' | sort -u >"$work/exported"
cat "$3"/*.txt | sed '/^$/d' | sort -u >"$work/listed"
if ! diff -u "$work/listed" "$work/exported"; then
    echo "the exported names differ from the lists in $3 (- listed only, + exported only)" >&2
    exit 1
fi
echo "$(wc -l <"$work/exported") exported names, all listed"
