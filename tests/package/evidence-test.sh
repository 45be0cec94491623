#!/bin/bash
# Every test that a document names as `directory/File`: `Test`, `Test` is there, and so is one at least.
#   evidence-test.sh DOCUMENT TESTS_DIRECTORY
set -euo pipefail
document=$1 tests=$2

count=0
failures=0
while read -r file name; do
  count=$((count + 1))
  if ! grep -qE "^TEST(_F|_P)?\([A-Za-z0-9]+, $name\)" "$tests/$file.cpp"; then
    echo "FAILED: $(basename "$document") names $name of tests/$file.cpp"
    failures=$((failures + 1))
  fi
done < <(tr '\n' ' ' <"$document" | grep -oE '`[a-z]+/[A-Za-z0-9]+`:( `[A-Za-z0-9]+`,?)+' |
  awk '{ gsub(/[`:,]/, ""); for (i = 2; i <= NF; i++) print $1, $i }')
echo "$count tests named, $failures missing"
[[ $count -gt 0 && $failures == 0 ]]
