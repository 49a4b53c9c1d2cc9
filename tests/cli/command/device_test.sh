# --to-device: device values in place of a result.
. "$(dirname "$0")/../support/shell_support.sh"

# tag FILE NUMBER: the values of a TIFF tag, one a line.
cat >tag.py <<'END'
import struct, sys
data, wanted = open(sys.argv[1], "rb").read(), int(sys.argv[2])
place = struct.unpack_from("<I", data, 4)[0]
kinds = {1: "B", 2: "s", 3: "H", 4: "I", 5: "II", 7: "s"}
for i in range(struct.unpack_from("<H", data, place)[0]):
    tag, kind, count = struct.unpack_from("<HHI", data, place + 2 + 12 * i)
    if tag == wanted:
        form = f"<{count}{kinds[kind]}"
        at = place + 10 + 12 * i
        at = at if struct.calcsize(form) <= 4 else struct.unpack_from("<I", data, at)[0]
        for value in struct.unpack_from(form, data, at):
            print(value.decode("latin1").replace("\0", "|") if kind in (2, 7) else value)
END
has_tag() {
    got=$(python3 tag.py "$1" "$2" | tr '\n' ' ')
    [ "$got" = "$3 " ] || fail "tag $2 of $1 is '$got' instead of '$3'"
}

expect 0 "" print photo.exr -o press.tif -q --profile press.icc --to-device --dpi 240
has_tag press.tif 258 "16 16 16 16"
has_tag press.tif 262 5
has_tag press.tif 332 1
has_tag press.tif 333 "Cyan|Magenta|Yellow|Black|"
python3 tag.py press.tif 282 | grep . >stdout.txt || fail "no resolution"
expect 0 "" print photo.exr -o rgb.tif -q --profile printer.icc --to-device --bits 8
has_tag rgb.tif 258 "8 8 8"
has_tag rgb.tif 262 2
expect 0 "" info rgb.tif
expect_output "ICC profile"

# The same bytes for any number of threads, in bands, and from shares.
expect 0 "" print photo.exr -o again.tif -q --profile press.icc --to-device --dpi 240 --threads 3
cmp -s press.tif again.tif || fail "threads change device values"
for bits in 8 16; do
    common="--profile press.icc --compression none"
    device="--to-device --bits $bits"
    # shellcheck disable=SC2086
    expect 0 "" page tall.tif -o whole.tif -q --progress none --band-rows 100 $common $device
    # shellcheck disable=SC2086
    for share in 1 2 3; do
        expect 0 "" page tall.tif -o share$share.tif -q --progress none --band-rows 100 \
            --band $share/3 $common
    done
    # shellcheck disable=SC2086
    expect 0 "" join share1.tif share3.tif share2.tif -o joined.tif --progress none \
        --profile press.icc $device
    cmp -s whole.tif joined.tif || fail "shares give other device values, $bits bits"
done
expect 0 "" page turned.tif -o turned_press.tif -q --progress none --profile press.icc --to-device
has_tag turned_press.tif 274 1

echo old >old.tif
keeps_old() {
    expect "$@"
    [ "$(cat old.tif)" = old ] || fail "the old file changed: $*"
    [ -z "$(find . -name '.qva-*')" ] || fail "a temporary stayed: $*"
}
keeps_old 5 "link.icc: is a device link" print photo.exr -o old.tif --profile link.icc --to-device
keeps_old 5 "no_way_back.icc: the profile is damaged" print photo.exr -o old.tif --profile no_way_back.icc --to-device
keeps_old 2 "--to-device: goes into TIFF or PDF" print photo.exr -o old2.png --to-device
keeps_old 2 "--side-by-side: shows no device values" page tall.tif -o old.tif --to-device \
    --side-by-side sheet.png --progress none -q
keeps_old 2 "--compression" print photo.exr -o old.tif --to-device --compression lzw
keeps_old 2 "--bits: belongs to --to-device" print photo.exr -o old.tif --bits 8
keeps_old 2 "--to-device: is for qva join" page tall.tif -o old.tif --band 1/2 --to-device
keeps_old 5 "was rendered for another profile" join share1.tif share2.tif share3.tif -o old.tif \
    --to-device --profile printer.icc
cp old.tif old.png
keeps_old 3 "holds device values already" proof rgb.tif --profile printer.icc -o old.png
finish
