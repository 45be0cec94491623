#!/bin/bash
# What the shared library exports, imports, is called and weighs.
#   symbol-test.sh CHECK LIBRARY [ARCHIVE | INCLUDE_DIRECTORY | LINK_OPTIONS]
# Environment: CXX.
set -euo pipefail
check=$1 library=$2 other=${3-}
here=$(cd "$(dirname "$0")" && pwd)

fail() { echo "FAILED: $*"; exit 1; }
skip() { echo "skipped: needs $*"; exit 77; }
needed() { readelf -d "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p'; }
exported() { nm -D --defined-only --format=posix "$library" | cut -d' ' -f1; }

exports_namespace_kelp_only() {
  local freeFunctions='KelpDebug(CreateLogDir|GenerateLogFile|RemoveLogFile)(\(|$)'
  local others
  [[ $(exported | wc -l) -gt 10 ]] || fail "nearly nothing is exported"
  others=$(exported | c++filt | grep -vE "^((vtable|typeinfo|typeinfo name) for |(non-)?virtual thunk to )?Kelp::" |
    grep -vE "^$freeFunctions" || true)
  [[ -z $others ]] || fail "exported, but outside the namespace Kelp:"$'\n'"$others"
}

exports_public_classes_only() {
  local classes class
  classes=$(exported | c++filt | sed -nE 's/^(.* (for|to) )?Kelp::([A-Za-z0-9_]+).*/\3/p' | sort -u)
  for class in $classes; do
    grep -qE "KELP_EXPORT (.* )?$class\b" "$other"/*.h || fail "Kelp::$class is exported, but no public header declares it"
  done
}

# operations public|private
operations() {
  for header in "$other"/*.h; do echo "#include \"$(basename "$header")\""; done |
    clang++ --target="$("$CXX" -dumpmachine)" -std=c++17 -I"$other" -fsyntax-only \
      -Xclang -ast-dump=json -Xclang -ast-dump-filter=Kelp -x c++ - |
    python3 "$here/operations.py" "$1" | sort -u
}

need_lister() {
  command -v clang++ >/dev/null || skip "clang++, which lists the operations"
  command -v python3 >/dev/null || skip "python3, which reads the list"
}

exports_every_public_operation() {
  need_lister
  local operations missing
  operations=$(operations public)
  echo "$(wc -l <<<"$operations") public operations"
  [[ $(wc -l <<<"$operations") -gt 10 ]] || fail "the headers name nearly no operation"
  missing=$(comm -23 <(echo "$operations") <(exported | sort -u) | c++filt)
  [[ -z $missing ]] || fail "public, but not exported:"$'\n'"$missing"
}

exports_no_private_operation() {
  need_lister
  local operations exported
  operations=$(operations private)
  echo "$(wc -l <<<"$operations") private operations"
  [[ $(wc -l <<<"$operations") -gt 10 ]] || fail "the headers name nearly no operation"
  exported=$(comm -12 <(echo "$operations") <(exported | sort -u) | c++filt)
  [[ -z $exported ]] || fail "private, but exported (KELP_LOCAL is missing):"$'\n'"$exported"
}

imports_the_logger_weakly() {
  nm -D "$library" | grep -E '^ +w PfLogPrintf$' || fail "no weak undefined PfLogPrintf in $library"
  ! nm --defined-only "$other" 2>/dev/null | grep -w PfLogPrintf || fail "$other defines PfLogPrintf"
  nm "$other" 2>/dev/null | grep -E '^ +w PfLogPrintf$' || fail "no weak undefined PfLogPrintf in $other"
  ! nm "$other" 2>/dev/null | grep -E '^ +U PfLogPrintf$' || fail "an object of $other refers to PfLogPrintf strongly"
}

# Each symbol that is looked up costs time at every start of every process.
binds_its_own_symbols() {
  local lookedUp
  lookedUp=$(readelf -rW "$library" | awk '$5 != "" { print $5 }' | c++filt | sort -u)
  grep -qx 'free@.*' <<<"$lookedUp" || fail "the C library is not found by lookup: this check checks nothing"
  lookedUp=$(grep 'Kelp::' <<<"$lookedUp" | grep -vE '^Kelp::AppPrefBoolean::s_str(True|False)\[' || true)
  [[ -z $lookedUp ]] || fail "looked up when the library is loaded:"$'\n'"$lookedUp"
}

# What size(1) calls the text: all that is mapped and never written.
text_is_under_160_kib() {
  local size text=0 hex='[0-9a-f]+'
  while read -r size; do
    text=$((text + 16#$size))
  done < <(readelf -SW "$library" | sed -nE "s/^ *\[ *[0-9]+\] +[^ ]+ +[A-Z_]+ +$hex $hex ($hex) $hex +A[^W ]* .*/\1/p")
  echo "$text bytes"
  ((text > 50000)) || fail "this check does not find the sections"
  ((text < 160 * 1024)) || fail "more than $((160 * 1024))"
}

# A call that no test can make fail is one whose failure nobody has looked at.
wraps_every_call_that_can_fail() {
  local wrapped cannotFail others
  wrapped=$(grep -oE 'wrap=[a-z0-9_]+' <<<"$other" | cut -d= -f2)
  [[ $(wc -l <<<"$wrapped") -gt 10 ]] || fail "nearly nothing is wrapped"
  # The first end no other way; the next fail for arguments only that the library does not give them: sets of signals
  # that do not exist, formats and texts that are none. The last stand for some of these where the build is hardened.
  cannotFail="__assert_fail __ctzdi2 __errno_location abort dirname getpid json_object_array_get_idx
    json_object_array_length json_object_is_type json_object_object_get json_object_put memchr memcmp memcpy memmem
    memmove memset pthread_exit pthread_self strlen strnlen
    __isoc99_sscanf sigaddset sigemptyset sigfillset sigismember snprintf strtol strtoll vsnprintf
    __memcpy_chk __memmove_chk __memset_chk __snprintf_chk __stack_chk_fail __stack_chk_guard __vsnprintf_chk"
  others=$(nm -D --undefined-only --format=posix "$library" | sed -n 's/^\([A-Za-z0-9_]*\)\(@[^ ]*\)\? U.*/\1/p' |
    grep -vE '^(_Z|__cxa_|__gxx_|__aeabi_|_Unwind_)' | sort -u | comm -23 - <(tr -s ' \n' '\n' <<<"$wrapped $cannotFail" | sort -u))
  [[ -z $others ]] || fail "the library calls these, which the tests cannot make fail:"$'\n'"$others"
}

# An exception that passes through must find no destructor to run: other threads may still use what it takes apart.
cleans_up_for_no_exception() {
  ! nm -D "$library" | grep -E ' U (__gxx_personality_v0|_Unwind_Resume|__cxa_begin_catch|__cxa_end_cleanup)' ||
    fail "the library would clean up for an exception"
}

needs_no_json_c() {
  ! needed | grep json || fail "the shared library needs json-c"
  nm -D "$library" | grep ' U json_object_' || fail "the library uses no json-c: this check checks nothing"
}

needs_the_compilers_own_libraries_only() {
  local others
  others=$(needed | grep -vE '^(libc|libm|libstdc\+\+|libgcc_s|libpthread|libatomic|ld-linux[^.]*)\.so' || true)
  [[ -z $others ]] || fail "the shared library needs $others"
}

# The kernel refuses to open a file of 2 GiB for a 32-bit program that calls open(); an emulator on a 64-bit one does not.
opens_large_files() {
  local calls='open|openat|creat|fopen|freopen|tmpfile|mkstemp|f?stat|lstat|fstatat|f?truncate|lseek|mmap|pread|pwrite|fcntl|readdir'
  local imported
  imported=$(nm -D --undefined-only --format=posix "$library" | sed 's/[@ ].*//')
  grep -x open64 <<<"$imported" || fail "the library opens no file: this check checks nothing"
  ! grep -xE "$calls" <<<"$imported" || fail "these take files of less than 2 GiB only, on 32-bit processors"
}

has_a_soname() {
  local soname
  soname=$(readelf -d "$library" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
  [[ $soname =~ ^libkelp\.so\.[0-9]+$ ]] || fail "soname: $soname"
  [[ $(basename "$(readlink -f "$(dirname "$library")/$soname")") == "$soname".* ]] || fail "no link from $soname"
}

"$check"
