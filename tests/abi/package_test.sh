#!/bin/sh
# Installs the build into a scratch prefix and builds a tiny host against it
# twice, through the CMake package (find_package(span3d), span3d::span3d and
# span3d::host) and through pkg-config, then runs both hosts.
#
# usage: package_test.sh BUILD_DIR CONSUMER_DIR WORK_DIR LIBDIR CC GENERATOR CMAKE PKG_CONFIG
set -eu

build=$1 consumer=$2 work=$3 libdir=$4 cc=$5 generator=$6 cmake=$7 pkgconfig=$8
prefix=$work/prefix

rm -rf "$work"
mkdir -p "$work"

"$cmake" --install "$build" --prefix "$prefix" >"$work/install.log" 2>&1 || {
    cat "$work/install.log"; echo "package_test: install failed"; exit 1; }

for f in include/span3d.h include/span3d_host.h "$libdir/libspan3d.so" \
         "$libdir/libspan3d_host.so" "$libdir/cmake/span3d/span3d-config.cmake" \
         "$libdir/pkgconfig/span3d.pc"; do
    [ -e "$prefix/$f" ] || { echo "package_test: $f not installed"; exit 1; }
done

LD_LIBRARY_PATH=$prefix/$libdir${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}
export LD_LIBRARY_PATH

# CMake package.
"$cmake" -S "$consumer" -B "$work/cmake" -G "$generator" -DCMAKE_C_COMPILER="$cc" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$prefix" >"$work/cmake.log" 2>&1 || {
    cat "$work/cmake.log"; echo "package_test: configuring the CMake consumer failed"; exit 1; }
"$cmake" --build "$work/cmake" >>"$work/cmake.log" 2>&1 || {
    cat "$work/cmake.log"; echo "package_test: building the CMake consumer failed"; exit 1; }
"$work/cmake/consumer"

# pkg-config, restricted to the scratch prefix so that an installed copy
# elsewhere on the machine cannot stand in for it.
flags=$(PKG_CONFIG_LIBDIR=$prefix/$libdir/pkgconfig "$pkgconfig" --cflags --libs span3d) || {
    echo "package_test: pkg-config does not find span3d"; exit 1; }
mkdir -p "$work/pkgconfig"
# shellcheck disable=SC2086 # the flags are meant to split into words
"$cc" -std=c99 -Wall -Wextra -Werror "$consumer/host.c" $flags -o "$work/pkgconfig/consumer"
"$work/pkgconfig/consumer"

echo "package_test: CMake and pkg-config consumers built and ran (flags: $flags)"
