# Device values as a PDF: what other programs find in it. Needs qpdf, gs and pdfimages.
. "$(dirname "$0")/../support/shell_support.sh"

# same_samples.py A B: two plain TIFF have the same samples.
cat >same_samples.py <<'END'
import struct, sys
def samples(name):
    data = open(name, "rb").read()
    place = struct.unpack_from("<I", data, 4)[0]
    tags = {}
    for i in range(struct.unpack_from("<H", data, place)[0]):
        tag, kind, count = struct.unpack_from("<HHI", data, place + 2 + 12 * i)
        form = f"<{count}{'H' if kind == 3 else 'I'}"
        at = place + 10 + 12 * i
        at = at if kind not in (3, 4) or struct.calcsize(form) <= 4 else struct.unpack_from("<I", data, at)[0]
        tags[tag] = struct.unpack_from(form, data, at) if kind in (3, 4) else ()
    return tags[258], b"".join(data[a:a + n] for a, n in zip(tags[273], tags[279]))
sys.exit(samples(sys.argv[1]) != samples(sys.argv[2]))
END

# checks PROFILE BITS DEVICE OPTIONS...: the page as PDF is sound, and another program that renders it
# with the profile of its output intent gets the values of the page as TIFF.
checks() {
    local profile=$1 bits=$2 device=$3 common
    shift 3
    common="--to-device --dpi 240 --bits $bits --profile $profile"
    # shellcheck disable=SC2086
    expect 0 "" print tall.tif -o page.pdf -q $common "$@"
    # shellcheck disable=SC2086
    expect 0 "" print tall.tif -o page.tif -q $common --compression none
    qpdf --check page.pdf >check.txt 2>&1 || fail "$profile, $bits bits: $(cat check.txt)"
    gs -q -dNOPAUSE -dBATCH -dSAFER -sDEVICE="$device" -r240 --permit-file-read="$profile" \
        -sOutputICCProfile="$PWD/$profile" -o rendered.tif page.pdf >gs.txt 2>&1 ||
        fail "$profile, $bits bits: $(cat gs.txt)"
    python3 same_samples.py rendered.tif page.tif || fail "other values: $profile, $bits bits, $*"
}
checks printer.icc 16 tiff48nc
checks printer.icc 8 tiff24nc
checks press.icc 8 tiff32nc
checks press.icc 16 tiff64nc --compression none
checks press.icc 16 tiff64nc
# A third program, which shows less than 16 bits, finds the same with and without compression.
expect 0 "" print tall.tif -o plain16.pdf -q --to-device --dpi 240 --profile press.icc \
    --compression none
for page in page plain16; do
    pdftoppm -r 240 $page.pdf $page >ppm.txt 2>&1 || fail "pdftoppm: $(cat ppm.txt)"
done
cmp -s page-1.ppm plain16-1.ppm || fail "pdftoppm shows other pixels"
pdfimages -list page.pdf >list.txt
grep -qE ' 40 +480 +icc +4 +16 +image +no .* 240 +240 ' list.txt || fail "$(cat list.txt)"
qpdf --qdf page.pdf plain.pdf
for entry in '/S /GTS_PDFX' '/Trapped /False' '(Custom)' '/TrimBox ' 'for profile'; do
    grep -qaF -- "$entry" plain.pdf || fail "no $entry"
done

# The same bytes from shares, whoever made them, and where they were rendered in columns.
for share in 1 2; do
    expect 0 "" page tall.tif -o share$share.tif -q --progress none --band-rows 100 --band $share/2 \
        --profile press.icc --dpi 240
done
expect 0 "" join share2.tif share1.tif -o joined.pdf --progress none --to-device --profile press.icc
expect 0 "" page tall.tif -o banded.pdf -q --progress none --band-rows 100 --threads 3 --to-device \
    --profile press.icc --dpi 240
cmp -s joined.pdf banded.pdf || fail "shares make another page"
expect 0 "" page turned.tif -o turned.pdf -q --progress none --to-device --profile press.icc
expect 0 "no resolution is stated: the PDF's page has 300 pixels per inch" \
    print tall.tif -o page.pdf --to-device --profile press.icc
pdfinfo page.pdf | grep -qE 'Page size: +9.6 x 115.2 pts' || fail "$(pdfinfo page.pdf)"
# 200 inches are the most units that a page has.
expect 0 "" print tall.tif -o page.pdf -q --to-device --profile press.icc --dpi 1
qpdf --qdf page.pdf - | grep -qaF '/UserUnit 3' || fail "a long page without units of its own"

keeps_nothing() {
    expect "$@"
    [ ! -e none.pdf ] || fail "something was written: $*"
}
keeps_nothing 2 "add --to-device" print tall.tif -o none.pdf
keeps_nothing 2 "--compression" print tall.tif -o none.pdf --to-device --compression lzw
cp press.icc inks.icc
printf 4CLR | dd of=inks.icc bs=1 seek=16 conv=notrunc 2>/dev/null
keeps_nothing 3 "a PDF knows RGB, CMYK and grey" \
    print tall.tif -o none.pdf --to-device --profile inks.icc
expect 0 "" print tall.tif -o inks.tif -q --to-device --profile inks.icc
finish
