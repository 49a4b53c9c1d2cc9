# qva info on pictures of every format, on broken ones and on wrong command lines.
. "$(dirname "$0")/../support/shell_support.sh"

for photo in photo.exr photo.hdr photo.png pq.png photo16.tif photo32.tif flawed.exr; do
    expect 0 "" info "$photo"
    expect_output "48 x 32 pixels"
    expect 0 "" info --json "$photo"
    expect_output '"width": 48'
done

# The spot 8, 8, 6.4 of BT.709 has 7.98 of BT.2020 green (ITU-R BT.2087-0), at 203 cd/m2 for 1.
expect 0 "" info photo.exr
expect_output "peak 1620."
expect 0 "" info photo.exr --white 100 --primaries bt2020
expect_output "peak 800"
expect 0 "" info pq.png
expect_output "PQ codes of the file, untouched"
expect 0 "" info photo16.tif --encoding linear --primaries bt2020 --luminance-max 1500
expect_output "linear codes of the file, untouched"
expect_output "0 to 1500 cd/m2"
expect 0 "" info photo.exr --exposure -1
expect_output "-1.00 EV (--exposure)"
expect_output "peak 810."
expect 0 "" info light.tif
expect_output "undershoot beside bright light filled"
expect_output "colours outside BT.2020 moved in"
expect_output "light above 30000 cd/m2 taken to white"
expect_output "bent to 10000"
expect_output "(default, exposed)"
expect 0 "" info light.tif --top 3000
expect_output "bent to 3000"
expect 0 "" info light.tif --exposure none --no-repair --no-colour-fit --no-rim-mix --no-shoulder
expect_output "none (--exposure none)"
grep -q "first  " stdout.txt && fail "steps that are off are shown"
for step in repair colour-fit rim-mix shoulder; do
    expect_output "off          --no-$step"
done
expect 0 "" info photo.png
expect_output "none (made for a screen)"
expect 0 "" info light.tif --json --exposure 0.5
expect_output '"exposure": 0.5'
expect_output '"repair": true'
expect 2 "'bright' is not a number; auto and none are names" info photo.exr --exposure bright
expect 2 "--exposure: the picture is PQ" info pq.png --exposure 1
expect 0 "" info flawed.exr
expect_output "1 sample not a number, 1 infinite, 1 negative"
expect 0 "" info photo.exr --top 2 --threshold 50
expect_output "threshold    2 cd/m2"

expect 3 "none.exr: no such file" info none.exr
expect 3 "is a directory" info .
expect 3 "is not an OpenEXR" info device.icc
expect 3 "--max-pixels" info photo.exr --max-pixels 1e3

expect 2 "--white: 'abc' is not a number" info photo.exr --white abc
expect 2 "--white: '1e' is not a number" info photo.exr --white 1e
expect 2 "--encoding: 'log' is not one of" info photo16.tif --encoding log
expect 2 "--primaries: 'rgb' is not one of" info photo16.tif --primaries rgb
expect 2 "--luminance-max: the picture holds" info photo.exr --luminance-max 100
expect 2 "--white: the picture is PQ" info pq.png --white 100
expect 2 "subcommand"

"$qva" info photo.exr >/dev/full 2>stderr.txt
[ $? = 4 ] || fail "a full disk behind standard output goes unnoticed"
[ "$(wc -l <stderr.txt)" = 1 ] || fail "a full disk gives no single line"

expect 0 "" --version
grep -qE '^qva [0-9]+\.[0-9]+\.[0-9]+$' stdout.txt || fail "version: $(cat stdout.txt)"
expect 0 "" --help
expect_output "Examples:"
finish
