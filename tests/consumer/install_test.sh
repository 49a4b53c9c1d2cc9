#!/bin/sh
# Usage: install_test.sh CMAKE BUILD LIBDIR CC. Installs a build into a prefix inside it, then builds
# and runs a host against that copy, with the CMake package and with pkg-config.
set -eu
sources=$(cd "$(dirname "$0")" && pwd)
work=$2/consumer_test
libs=$work/prefix/$3
rm -rf "$work"
"$1" --install "$2" --prefix "$work/prefix" > /dev/null
CC=$4 "$1" -S "$sources" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$work/prefix" > /dev/null
"$1" --build "$work/cmake" > /dev/null
"$work/cmake/consumer"
# The flags of pkg-config are words.
"$4" "$sources/../api/all_exports.c" -o "$work/host" \
    $(PKG_CONFIG_PATH=$libs/pkgconfig pkg-config --cflags --libs qva)
export LD_LIBRARY_PATH="$libs"
"$work/host"
[ "$(ldd "$work/host" | grep -c "$libs")" -eq 2 ] || { echo 'another copy was loaded'; exit 1; }
