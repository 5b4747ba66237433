#!/bin/bash
# Installs the build into a scratch prefix, then builds and runs a small C
# program against it through pkg-config, and checks that find_package(zubvc)
# finds the CMake package.
set -euo pipefail
build=$1
src=$2
cflags=${3:-}
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" > /dev/null
libdir=$(dirname "$(find "$prefix" -name zubvc.pc | head -n 1)")/..
export PKG_CONFIG_PATH=$libdir/pkgconfig
test -L "$libdir/libzubvcpx.so"
soname=$(readelf -d "$libdir/libzubvcpx.so.5.2" | sed -n 's/.*SONAME.*\[\(.*\)\]/\1/p')
[ "$soname" = "libzubvcpx.so.5.2" ] || { echo "unexpected soname '$soname'"; exit 1; }
# shellcheck disable=SC2046,SC2086
cc $cflags -std=c99 -Wall -Werror -o "$prefix/hello" "$src/c99_header.c" $(pkg-config --cflags --libs zubvc)
LD_LIBRARY_PATH=$libdir "$prefix/hello"
mkdir "$prefix/pkg"
cat > "$prefix/pkg/CMakeLists.txt" <<'CM'
cmake_minimum_required(VERSION 3.25)
project(probe C)
find_package(zubvc 5.2 REQUIRED)
add_executable(probe probe.c)
target_link_libraries(probe PRIVATE zubvc::zubvc)
CM
cp "$src/c99_header.c" "$prefix/pkg/probe.c"
cmake -S "$prefix/pkg" -B "$prefix/pkg/build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_C_FLAGS="$cflags" > /dev/null
cmake --build "$prefix/pkg/build" > /dev/null
LD_LIBRARY_PATH=$libdir "$prefix/pkg/build/probe" > /dev/null
echo "installed package: pkg-config and find_package both work"
