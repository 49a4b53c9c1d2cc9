# What describes a picture goes on to its print, as a second program reads it; --no-metadata leaves
# it out, and neither changes a pixel.
. "$(dirname "$0")/../support/shell_support.sh"

command -v exiftool >/dev/null || { echo "exiftool is missing: scripts/setup installs it"; exit 1; }

# tag FILE NAME: the value of a tag, empty where there is none.
tag() {
    exiftool -s3 -n "-$2" "$1" 2>/dev/null
}

has() {
    [ "$(tag "$1" "$2")" = "$3" ] || fail "$1: $2 is '$(tag "$1" "$2")' instead of '$3'"
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
    has $result IFD0:Artist "Ada Lovelace"
    has $result IFD0:Copyright "(c) Ada"
    has $result IFD0:Model "Camera 1"
    has $result ExifIFD:ExposureTime 0.01666666667
    has $result ExifIFD:ISO 400
    has $result ExifIFD:UserComment "Grüße"
    has $result ExifIFD:DateTimeOriginal "2024:05:06 07:08:09"
    has $result Composite:GPSLatitude 51.5
    has $result XMP-photoshop:City Bath
    has $result IPTC:By-line Ada
    has $result IFD0:Orientation 1
    for absent in ExifIFD:ColorSpace XMP-tiff:Orientation XMP-crs:Exposure2012; do
        has $result $absent ""
    done
    exiftool -a -Warning $result | grep -qi "pointer\|offset\|bad\|after PNG IDAT" &&
        fail "$result: $(exiftool -a -Warning $result)"
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
expect 1 "does not belong to" join page1.tif other2.tif -o joined.tif
sed 's/"iptc":"1c/"iptc":"1d/' page2.tif >changed2.tif
expect 1 "is not a share of a page" join page1.tif changed2.tif -o joined.tif

expect 0 "" info described.tif
expect_output "metadata     Exif (12 entries), XMP (1 property), IPTC (5 datasets)"
expect_output "left out     true of the file alone: 3 of Exif, 2 of XMP"
expect 0 "" info plain.tif
grep -q "metadata" stdout.txt && fail "metadata of a picture without any are told"
finish
