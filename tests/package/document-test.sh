#!/bin/bash
# Compiles every C++ block of a document: one with a main() is linked as a program, any other compiles as a file of its
# own. The README's first program is also run, and is short enough for a first program.
#   document-test.sh DOCUMENT
# Environment: CXX, PREFIX (the installed package); EMULATOR, where programs need one.
set -euo pipefail
document=$1

fail() { echo "FAILED: $*"; exit 1; }
skip() { echo "skipped: needs $*"; exit 77; }

command -v pkg-config >/dev/null || skip "pkg-config"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
PKG_CONFIG_PATH=$(dirname "$(find "$PREFIX" -name kelp.pc)")
export PKG_CONFIG_PATH LD_LIBRARY_PATH=${PKG_CONFIG_PATH%/pkgconfig}
read -ra kelpFlags <<<"$(pkg-config --cflags --libs kelp)"

# Blocks are named after the line that they begin on.
awk -v dir="$work" '
  /^```cpp/ { file = dir "/line-" NR ".cpp"; printf "" > file; next }
  /^```/ { file = "" }
  file { print > file }' "$document"

compile() {
  local source=$1
  local warnings=(-std=c++17 -Wall -Wextra -Werror)
  if grep -q '^int main(' "$source"; then
    "$CXX" "${warnings[@]}" "$source" "${kelpFlags[@]}" -o "${source%.cpp}"
  else
    # An excerpt need not call the functions that it shows.
    "$CXX" "${warnings[@]}" -Wno-unused -fsyntax-only "$source" "${kelpFlags[@]}"
  fi
}

run_first_program() {
  local program=$1 lines status=0
  lines=$(wc -l <"$program.cpp")
  [[ $lines -lt 40 ]] || fail "the first program has $lines lines"
  # shellcheck disable=SC2086 # the emulator's arguments, if there is one
  timeout 20 ${EMULATOR-} "$program" || status=$?
  [[ $status == 0 ]] || fail "the first program ended with status $status"
}

shopt -s nullglob
for source in "$work"/line-*.cpp; do
  compile "$source" || fail "$(basename "$document") $(basename "$source" .cpp) does not compile"
  echo "$(basename "$document") $(basename "$source" .cpp) compiles"
done
if [[ $(basename "$document") == README.md ]]; then
  programs=$(grep -l '^int main(' "$work"/line-*.cpp | sort -V || true)
  [[ -n $programs ]] || fail "the README has no program"
  first=$(head -n 1 <<<"$programs")
  run_first_program "${first%.cpp}"
fi
