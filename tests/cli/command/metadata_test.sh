# What describes a picture goes on to its print, as a second program reads it; --no-metadata leaves
# it out, and neither changes a pixel.
. "$(dirname "$0")/../support/shell_support.sh"

command -v exiftool >/dev/null || { echo "exiftool is missing: scripts/setup installs it"; exit 1; }

# has GROUP NAME VALUE: what tags.txt says of the result at hand; VALUE is empty for a tag that may not
# be there.
has() {
    local value
    value=$(sed -n "s/^\[$1\] *$2 *: //p" tags.txt)
    [ "$value" = "$3" ] || fail "$result: $1 $2 is '$value' instead of '$3'"
}

cp turned.tif described.tif
exiftool -q -overwrite_original -Artist="Ada Lovelace" -Copyright="(c) Ada" -Model="Camera 1" \
    -ExposureTime=1/60 -ISO=400 -UserComment="Grüße" -DateTimeOriginal="2024:05:06 07:08:09" \
    -GPSLatitude=51.5 -GPSLatitudeRef=N -ExifIFD:ColorSpace#=1 -XMP-photoshop:City="Bath" \
    -XMP-tiff:Orientation#=6 -XMP-crs:Exposure2012=1 -IPTC:By-line="Ada" -IPTC:City="Bath" \
    -CodedCharacterSet=UTF8 described.tif || fail "exiftool cannot write"

bands="-q --direction rows --band-rows 100"
# shellcheck disable=SC2086
for band in 1 2; do
    expect 0 "" page described.tif -o page$band.tif $bands --band $band/2
done
# shellcheck disable=SC2086
expect 0 "" page described.tif -o page.tif $bands
expect 0 "" join page1.tif page2.tif -o joined.tif
cmp -s page.tif joined.tif || fail "joined shares have other metadata than the page"
expect 0 "" join page1.tif page2.tif -o joined.png
expect 0 "" print described.tif -o print.tif -q
expect 0 "" print described.tif -o print.png -q
expect 0 "" print print.png -o next.tif -q
for result in page.tif joined.png print.tif print.png next.tif; do
    exiftool -a -n -G1 -s $result >tags.txt
    has IFD0 Artist "Ada Lovelace"
    has IFD0 Copyright "(c) Ada"
    has IFD0 Model "Camera 1"
    has IFD0 Orientation 1
    has ExifIFD ExposureTime 0.01666666667
    has ExifIFD ISO 400
    has ExifIFD UserComment "Grüße"
    has ExifIFD DateTimeOriginal "2024:05:06 07:08:09"
    has ExifIFD ColorSpace ""
    has Composite GPSLatitude 51.5
    has XMP-photoshop City Bath
    has XMP-tiff Orientation ""
    has XMP-crs Exposure2012 ""
    has IPTC By-line Ada
    grep "Warning.*\(pointer\|offset\|Bad\|after PNG IDAT\)" tags.txt && fail "$result: warnings"
done

# The pixels are those of the picture without any of it, and so is the file.
expect 0 "" print turned.tif -o plain.tif -q
expect 0 "" print described.tif -o bare.tif -q --no-metadata
cmp -s plain.tif bare.tif || fail "--no-metadata leaves something"
expect 0 "" print print.tif -o a.tif -q --no-metadata --compression none
expect 0 "" print plain.tif -o b.tif -q --compression none
cmp -s a.tif b.tif || fail "metadata change pixels"

# Shares of other metadata are of another page; a share's metadata are held against its job.
# shellcheck disable=SC2086
expect 0 "" page described.tif -o other2.tif $bands --band 2/2 --no-metadata
expect 3 "does not belong to" join page1.tif other2.tif -o joined.tif
sed 's/"iptc":"1c/"iptc":"1d/' page2.tif >changed2.tif
expect 3 "is not a share of a page" join page1.tif changed2.tif -o joined.tif

expect 0 "" info described.tif
expect_output "metadata     Exif (12 entries), XMP (1 property), IPTC (5 datasets)"
expect_output "left out     true of the file alone: 3 of Exif, 2 of XMP"
expect 0 "" info plain.tif
grep -q "metadata" stdout.txt && fail "metadata of a picture without any are told"
finish
