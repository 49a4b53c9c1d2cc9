# --size: a picture resampled for a page.
. "$(dirname "$0")/../support/shell_support.sh"

has_size() {
    expect 0 "" info "$1"
    expect_output "$2 x $3 pixels"
    [ -z "${4:-}" ] || expect_output "$4"
}
print="print tall.tif -q --profile device.icc -o"
# The picture has 40 x 480 pixels.
# shellcheck disable=SC2086
expect 0 "" $print small.tif --size 10x60mm --dpi 127
has_size small.tif 25 300 "127"
# shellcheck disable=SC2086
expect 0 "" $print wide.tif --size 1x1in --dpi 120
has_size wide.tif 10 120
# shellcheck disable=SC2086
expect 0 "" $print covered.tif --size 2x4cm --fit cover --dpi 127
has_size covered.tif 100 200
expect 0 "enlarged 2.95 times: at this size the picture has 102 pixels per inch of its own" \
    print tall.tif --profile press.icc -o large.tif --size 1x12cm
has_size large.tif 118 1417 300

# A picture that is stored on its side becomes the same page, in bands and shares, too.
# shellcheck disable=SC2086
for way in "print tall.tif" "print turned.tif" "page turned.tif --band-rows 100 --progress none" \
    "page tall.tif --direction columns --progress none"; do
    expect 0 "" $way -q --profile device.icc --size 2x5cm --fit cover --dpi 127 --compression none \
        --no-metadata -o way.tif
    expect 0 "" info way.tif
    expect_output "100 x 250 pixels"
done
expect 0 "" page tall.tif -o bands.tif --progress none -q --band-rows 100 --size 20x240mm --dpi 127
for share in 1 2; do
    expect 0 "" page tall.tif -o share$share.tif --progress none -q --band-rows 100 --size 20x240mm \
        --dpi 127 --band $share/2 --threads $share
done
expect 0 "" join share1.tif share2.tif -o joined.tif --progress none
cmp -s bands.tif joined.tif || fail "shares of a sized page make another page"

# What is cut away stands in the PDF: 72 points an inch.
expect 0 "" print tall.tif -q --profile press.icc --to-device -o page.pdf --size 2x3in --bleed 0.25in \
    --dpi 40
grep -qaF '/MediaBox [0 0 180.0000 252.0000]' page.pdf || fail "no room for the bleed"
grep -qaF '/TrimBox [18.0000 18.0000 162.0000 234.0000]' page.pdf || fail "no box for the bleed"

keeps_nothing() {
    expect "$@"
    [ ! -e none.tif ] || fail "something was written: $*"
}
for size in 30x20 30cm x20cm 0x5cm -3x5cm 30x20cmm 1e9x5cm nanx5cm; do
    keeps_nothing 2 "--size: '$size'" print tall.tif -o none.tif "--size=$size"
done
keeps_nothing 2 "--bleed: belongs to --size" print tall.tif -o none.tif --bleed 3mm
keeps_nothing 2 "--fit: belongs to --size" print tall.tif -o none.tif --fit cover
keeps_nothing 2 "--bleed: is beyond the page" print tall.tif -o none.tif --size 3x4cm --bleed 3mm \
    --fit contain
keeps_nothing 3 "that --max-pixels allows" print tall.tif -o none.tif --size 30x20cm \
    --max-pixels 50000 --fit cover
finish
