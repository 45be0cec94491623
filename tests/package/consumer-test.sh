#!/bin/bash
# Builds the program in consumer/ outside the tree against the package installed in $PREFIX, and runs it.
#   consumer-test.sh cmake|pkg-config shared|static LINKER
# The linker drops every library that the program seems not to use; json-c has to stay all the same.
# Environment: CXX, PREFIX; for another processor TOOLCHAIN, a file for CMake, and EMULATOR; JSON_C=elsewhere hides json-c
# from the linker's own directories; ADDRESS=fixed builds the program for a fixed address.
set -euo pipefail
finder=$1 form=$2 linker=$3
here=$(cd "$(dirname "$0")" && pwd)

fail() { echo "FAILED: $*"; exit 1; }
skip() { echo "skipped: needs $*"; exit 77; }

[[ $linker != lld ]] || command -v ld.lld >/dev/null || skip "lld"
[[ $finder != pkg-config ]] || command -v pkg-config >/dev/null || skip "pkg-config"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -r "$here/consumer" "$work/source"
flags="-Wl,--as-needed -fuse-ld=$linker"
if [[ $linker == lld ]]; then  # a cross compiler has linkers of its own, and looks for no other unless told where
  mkdir "$work/linker"
  ln -s "$(command -v ld.lld)" "$work/linker/"
  flags+=" -B$work/linker"
fi
compilerFlags=
if [[ ${ADDRESS-} == fixed ]]; then
  flags+=" -no-pie"
  compilerFlags=-fno-pie
fi

build_with_cmake() {
  local target=Kelp::kelp
  [[ $form == shared ]] || target=Kelp::kelp-static
  cmake -S "$work/source" -B "$work/build" -G Ninja -DCMAKE_CXX_COMPILER="$CXX" \
    -DCMAKE_TOOLCHAIN_FILE="${TOOLCHAIN-}" -DCMAKE_PREFIX_PATH="$PREFIX;${jsonCPrefix-}" \
    -DCMAKE_CXX_FLAGS="$compilerFlags" -DCMAKE_EXE_LINKER_FLAGS="$flags" -DCONSUMER_TARGET=$target
  cmake --build "$work/build" --verbose | tee "$work/build.log"
}

build_with_pkg_config() {
  local module=kelp pkgFlags
  [[ $form == shared ]] || module=kelp-static
  PKG_CONFIG_PATH=$(dirname "$(find "$PREFIX" -name kelp.pc)")
  export PKG_CONFIG_PATH
  read -ra pkgFlags <<<"$(pkg-config --cflags --libs $module)"
  mkdir "$work/build"
  # shellcheck disable=SC2086 # several flags
  (set -x; "$CXX" -std=c++17 $flags "$work/source/main.cpp" "${pkgFlags[@]}" -o "$work/build/consumer")
}

# json-c's library under a prefix of its own, for whoever looks in it.
hide_json_c() {
  jsonCPrefix=$work/json-c
  mkdir -p "$jsonCPrefix/lib"
  ln -s "$("$CXX" -print-file-name=libjson-c.so)" "$jsonCPrefix/lib/libjson-c.so"
}

if [[ ${JSON_C-} == elsewhere ]]; then
  hide_json_c
fi
case $finder in
  cmake) build_with_cmake ;;
  pkg-config) build_with_pkg_config ;;
esac
if [[ ${JSON_C-} == elsewhere ]]; then
  grep -q -e "-L$jsonCPrefix/lib" "$work/build.log" || fail "the link line does not name json-c's directory"
fi

program=$work/build/consumer
needed=$(readelf -d "$program" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
grep -q '^libjson-c\.so' <<<"$needed" || fail "json-c was dropped; needed: $needed"
case $form in
  shared) grep -q '^libkelp\.so\.[0-9]*$' <<<"$needed" || fail "libkelp is not needed under its soname: $needed" ;;
  static) ! grep -q '^libkelp' <<<"$needed" || fail "the archive was asked for, needed: $needed" ;;
esac
if [[ $linker == lld ]]; then
  readelf -p .comment "$program" | grep 'LLD' || fail "lld did not link it"
fi

if [[ ${ADDRESS-} == fixed ]]; then
  readelf -h "$program" | grep 'Type: .*EXEC' || fail "the program has no fixed address"
  readelf -rW "$program" | grep '_COPY.*s_strTrue' || fail "the library's data did not move into the program"
fi

libraries=$(dirname "$(find "$PREFIX" -name libkelp.a)")
# shellcheck disable=SC2086 # the emulator's arguments, if there is one
text=$(LD_BIND_NOW=1 LD_LIBRARY_PATH=$libraries ${EMULATOR-} "$program") || fail "the program ended with status $?"
[[ $text == "I/O error, TRUE" ]] || fail "the program printed: $text"
