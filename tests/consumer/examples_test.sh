#!/bin/sh
# Usage: examples_test.sh CMAKE BUILD LIBDIR CC CXX. Builds the examples against an installed copy,
# with the CMake package and with pkg-config, and holds their prints against those of the program.
set -eu
examples=$(cd "$(dirname "$0")/../../examples" && pwd)
work=$2/examples_test
rm -rf "$work"
"$1" --install "$2" --prefix "$work/prefix" > /dev/null
CC=$4 CXX=$5 "$1" -S "$examples" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$work/prefix" > /dev/null
"$1" --build "$work/cmake" > /dev/null
cd "$work"
export PKG_CONFIG_PATH="$work/prefix/$3/pkgconfig" LD_LIBRARY_PATH="$work/prefix/$3"
# The flags of pkg-config are words.
"$4" -Wall -Wextra -Werror "$examples/print_picture.c" -o print_picture \
    $(pkg-config --cflags --libs qva)
"$5" -Wall -Wextra -Werror -std=c++20 "$examples/print_bands.cpp" -o print_bands \
    $(pkg-config --cflags --libs qva)
[ "$(ldd print_picture print_bands | grep -c "$work/prefix/$3")" -eq 4 ]

# One page of 32 x 400 pixels, as PPM and as TIFF: both keep the high byte first.
"$2/bin/make_samples" "$work"
cat "$examples/../include/lumo/qva.h" "$work/prefix/bin/qva" | head -c 76800 > pixels
{ printf 'P6\n32 400\n65535\n'; cat pixels; } > page.ppm
short() { printf '%b' "\\0$(printf %o $(($1 / 256)))\\0$(printf %o $(($1 % 256)))"; }
entry() { short "$1"; short 3; short 0; short 1; short "$2"; short 0; } # one SHORT
{
    printf 'MM'; short 42; short 0; short 8
    short 9
    entry 256 32; entry 257 400
    short 258; short 3; short 0; short 3; short 0; short 122 # 8 + 2 + 9 * 12 + 4
    entry 259 1; entry 262 2
    short 273; short 4; short 0; short 1; short 0; short 128
    entry 277 3; entry 278 400
    short 279; short 4; short 0; short 1; short 1; short 11264 # 65536 + 11264
    short 0; short 0; short 16; short 16; short 16
    cat pixels
} > page.tif
options="--primaries bt2020 --luminance-max 1000 --top 1000 --profile device.icc -q"
options="$options --compression none"
"$2/bin/qva" print page.tif -o whole.tif --encoding pq $options
"$2/bin/qva" page page.tif -o bands.tif --encoding linear --band-rows 100 $options
for build in . cmake; do
    "$build/print_picture" page.ppm device.icc whole.ppm
    "$build/print_bands" page.ppm device.icc bands.ppm 100
    for page in whole bands; do
        python3 "$examples/../tests/support/tiff_codes.py" "$page.tif" > expected
        tail -c 76800 "$page.ppm" | cmp - expected ||
            { echo "$build, $page: another print"; exit 1; }
    done
done
[ "$(head -c 2 whole.ppm)" = P6 ]
! ./print_picture gone.ppm device.icc out.ppm 2> told
grep -q '^gone.ppm: cannot be read$' told
