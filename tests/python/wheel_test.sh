#!/bin/sh
# Usage: wheel_test.sh PYTHON BUILD VERSION. Makes a wheel of a build, unpacks it and prints with it alone.
set -eu
python=$(cd "$(dirname "$0")/../../python" && pwd)
work=$2/wheel_test
rm -rf "$work"
mkdir -p "$work/tree" "$work/site"
# In a copy, for setuptools writes beside what it packs.
cp -r "$python" "$work/tree/python"
cp "$python/../CMakeLists.txt" "$work/tree"
cd "$work/tree/python"
QVA_BUILD=$2 "$1" setup.py -q bdist_wheel --dist-dir "$work" > /dev/null 2>&1
"$1" -m zipfile -e "$work"/qva-*.whl "$work/site"
cd "$work/site"
[ "$(ldd qva/_native.*.so | grep -c "$work/site")" -eq 2 ] || { echo 'another copy was loaded'; exit 1; }
PYTHONPATH=$work/site "$1" -c '
import numpy, qva
assert qva.__file__.startswith("'"$work"'") and qva.__version__ == "'"$3"'"
assert qva.print_image(numpy.full((8, 8, 3), 0.5, "f2")).shape == (8, 8, 3)'
for file in py.typed _native.pyi __init__.py; do
    [ -e "qva/$file" ] || { echo "$file is missing"; exit 1; }
done
