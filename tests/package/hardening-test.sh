#!/bin/bash
# Whether the files that were built are hardened: read from the files themselves, not from the flags.
#   hardening-test.sh CHECK FILE...
# Environment: OBJDUMP, where the files are for another processor: GNU's, because Clang's does not name imported functions.
set -euo pipefail
check=$1
shift

fail() { echo "FAILED: $*"; exit 1; }
imports() { readelf -W --dyn-syms "$1" | awk '$7 == "UND" { sub(/@.*/, "", $8); print $8 }'; }
segment() { readelf -lW "$1" | awk -v type="$2" '$1 == type'; }
dynamic() { readelf -dW "$1"; }

guards_its_stack() {
  imports "$1" | grep -x __stack_chk_fail >/dev/null || fail "$1 does not watch its stack"
}

# What stands on this function's stack is a structure whose address it hands out, with no array of characters in it: the
# plain kind of guard, which is for such arrays alone, would leave it out.
guards_stacks_without_buffers_too() {
  local code
  code=$("${OBJDUMP:-objdump}" -d "$1" | awk '/>:$/ { isIn = /<_ZN4Kelp7SysFunc8kelpStat[A-Za-z0-9_]*>:$/ } isIn')
  [[ -n $code ]] || fail "$1 has no code of SysFunc::kelpStat"
  [[ $code == *"<__stack_chk_fail@plt>"* ]] || fail "$1 watches only stacks with buffers: SysFunc::kelpStat's is not"
}

calls_checked_c_library_functions() {
  imports "$1" | grep -E '^__[a-z]+_chk$' >/dev/null || fail "$1 calls no checked function of the C library"
}

has_read_only_tables() {
  [[ -n $(segment "$1" GNU_RELRO) ]] || fail "$1 has no part that is read-only after relocation"
  dynamic "$1" | grep -E '\(FLAGS(_1)?\).*\b(BIND_)?NOW\b' >/dev/null || fail "$1 is not bound when it is loaded"
  ! dynamic "$1" | grep TEXTREL || fail "$1 relocates code"
}

has_no_executable_stack() {
  local stack
  stack=$(segment "$1" GNU_STACK)
  [[ -n $stack && $stack != *" RWE "* ]] || fail "$1 wants an executable stack"
}

has_no_writable_code() {
  ! readelf -lW "$1" | grep -E '^ +LOAD .* RWE ' || fail "$1 has memory that is writable and executable"
}

is_position_independent_program() {
  dynamic "$1" | grep -E '\(FLAGS_1\).*\bPIE\b' >/dev/null || fail "$1 is loaded at a fixed address"
}

for file in "$@"; do
  [[ -e $file ]] || fail "no such file: $file"
  "$check" "$file"
done
