#!/bin/bash
# The binary interface on the 32-bit ARM device, beside the tables in abi/ that programs built before rely on.
#   abi-test.sh layout_is_as_kept INCLUDE_DIRECTORY [COMPILER_FLAG...]   flags with which a host may be compiled
#   abi-test.sh exports_are_as_kept LIBRARY                              an ARM build's
#   abi-test.sh keep INCLUDE_DIRECTORY LIBRARY                           makes both tables anew; see tools/update-abi
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
readonly here compiler=arm-linux-gnueabihf-g++
readonly layoutTable=$here/abi/layout-arm.txt exportTable=$here/abi/exports-arm.txt
readonly stdString='std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >'

fail() { echo "FAILED: $*"; exit 1; }
skip() { echo "skipped: needs $*"; exit 77; }

layout() {
  local include=$1
  shift
  for header in "$include"/*.h; do echo "#include \"$(basename "$header")\""; done |
    "$compiler" -std=c++17 -I"$include" -gdwarf-4 -fno-eliminate-unused-debug-types -femit-class-debug-always "$@" \
      -c -o "$work/headers.o" -x c++ -
  readelf --debug-dump=info --wide "$work/headers.o" | python3 "$here/abi/layout.py" | c++filt | sed "s/$stdString/std::string/g"
}

# A data object's size is part of it: hosts may hold a copy of the object.
exports() {
  nm -D --defined-only --format=posix "$1" | awk '{ print $1 ($2 == "T" || $2 == "W" ? "" : " 0x" $4) }' | LC_ALL=C sort
}

has_every_public_class() {
  local classes class
  classes=$(sed -nE 's/^ *(class|struct) KELP_EXPORT ([A-Za-z0-9_]+).*/\2/p' "$1"/*.h)
  [[ $(wc -w <<<"$classes") -gt 10 ]] || fail "the headers name nearly no class"
  for class in $classes; do
    grep -qE "^(class|struct) Kelp::(.*::)?$class, " "$2" || fail "the compiler told nothing about $class"
  done
}

compare() {
  local table=$1 now=$2
  diff -U 3 "$table" "$now" || fail "programs built before will not work with this. Deliberate? Then run tools/update-abi."
}

layout_is_as_kept() {
  command -v "$compiler" >/dev/null || skip "$compiler"
  command -v python3 >/dev/null || skip "python3, which reads what the compiler says"
  layout "$@" >"$work/layout"
  has_every_public_class "$1" "$work/layout"
  compare "$layoutTable" "$work/layout"
}

exports_are_as_kept() {
  exports "$1" >"$work/exports"
  compare "$exportTable" "$work/exports"
}

keep() {
  layout "$1" >"$work/layout"
  exports "$2" >"$work/exports"
  mv "$work/layout" "$layoutTable"
  mv "$work/exports" "$exportTable"
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$@"
