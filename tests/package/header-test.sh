#!/bin/bash
# Each public header compiles alone, twice in one file, without a warning, and without bringing json-c in.
#   header-test.sh g++|clang++ INCLUDE_DIRECTORY
# Environment: CXX; TOOLCHAIN, where CXX compiles for another processor.
set -euo pipefail
compiler=$1 include=$2

# For the processor that the build is for.
case $compiler in
  g++) [[ -z ${TOOLCHAIN-} ]] || compiler=$CXX ;;
  clang++) target=--target=$("$CXX" -dumpmachine) ;;
esac
command -v "$compiler" >/dev/null || { echo "skipped: needs $compiler"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

failures=0
for header in "$include"/*.h; do
  name=$(basename "$header")
  printf '#include "%s"\n#include "%s"\n' "$name" "$name" >"$work/alone.cpp"
  if ! "$compiler" ${target-} -std=c++17 -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror -I"$include" \
    -c -o "$work/alone.o" -MD -MF "$work/alone.d" "$work/alone.cpp"; then
    echo "FAILED: $name does not compile alone"
    failures=$((failures + 1))
  elif grep -i 'json[-_]c\|json_' "$work/alone.d"; then
    echo "FAILED: $name includes json-c's header"
    failures=$((failures + 1))
  fi
done
exit $((failures > 0))
