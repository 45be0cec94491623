#!/bin/bash
# Installs the build in $1 and moves the result to $2, so that whoever uses it there proves that it may be moved.
set -euo pipefail
build=$1 prefix=$2

rm -rf "$prefix" "$prefix.first"
cmake --install "$build" --prefix "$prefix.first"
mv "$prefix.first" "$prefix"

[[ -f $prefix/include/kelp/KelpObject.h ]] || { echo "the headers are not installed"; exit 1; }
if grep -rl --include='*.cmake' --include='*.pc' -e "$prefix.first" -e "$build" "$prefix"; then
  echo "the files above name the place of installation or of the build"
  exit 1
fi
