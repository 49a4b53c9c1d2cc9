# qva page and qva join: bands, shares, stopped runs, pages that lie on their side.
# shellcheck disable=SC2086
. "$(dirname "$0")/../support/shell_support.sh"

same() {
    cmp -s "$1" "$2" || fail "$1 and $2 differ"
}
gone() {
    [ ! -e "$1" ] || fail "$1 is there"
}

# Bands of 100 rows have real borders on 480 rows; one band has none.
options="--profile device.icc --quiet"
hundred="--band-rows 100"
page() {
    expect 0 "" page "$1" -o "$2" $options "${@:3}"
}
page tall.tif whole.tif $hundred
expect 0 "" info whole.tif
expect_output "40 x 480 pixels"
expect_output "ICC profile"
page tall.tif again.tif $hundred --threads 1
same whole.tif again.tif
for n in 2 5; do
    shares=""
    for ((i = n; i > 0; i--)); do
        page tall.tif "share$i.tif" $hundred --band "$i/$n"
        shares="$shares share$i.tif"
    done
    expect 0 "" join $shares -o joined.tif
    same whole.tif joined.tif
done
expect 0 "" join share[1-5].tif -o joined.png --json
expect_output '"shares": 5'
page tall.tif whole.png $hundred
same whole.png joined.png

"$qva" page tall.tif -o closed.tif --profile device.icc $hundred --verbose --progress json \
    <&- >&- 2>&- || fail "closed streams: exit code $?"
same whole.tif closed.tif
# The part's name can just be written, the journal's cannot.
long=$(printf '%0240d' 0).tif
expect 4 "$long: cannot be written: file name too long" page tall.tif -o "$long" $options
gone "$long.qva-part"

# Columns: asked for, or because the page is stored on its side.
page tall.tif columns.tif --direction columns --band-rows 20
for name in 1 2; do
    page tall.tif "column$name.tif" --direction columns --band-rows 20 --band "$name/2"
done
expect 0 "" join column1.tif column2.tif -o joined.tif
same columns.tif joined.tif
page turned.tif turned_columns.tif --band-rows 20
same columns.tif turned_columns.tif
page turned.tif turned_rows.tif $hundred --direction rows
same whole.tif turned_rows.tif

# A page of one tone has two regions only with what it is continued by.
page even.tif even_whole.tif $hundred
for i in 1 2; do
    page even.tif "even$i.tif" $hundred --band "$i/2"
done
expect 0 "" join even1.tif even2.tif -o joined.tif
same even_whole.tif joined.tif
page even.tif even_one.tif --max-memory 2G
expect 0 "" info even_one.tif

# The steps on difficult light know nothing of bands, shares and threads.
page light.tif light_whole.tif $hundred
page light.tif again.tif $hundred --threads 1
same light_whole.tif again.tif
page light_turned.tif turned_whole.tif $hundred --direction rows
for name in light light_turned; do
    for n in 1 2; do
        page $name.tif "$name$n.tif" $hundred --direction rows --band "$n/2"
    done
    expect 0 "" join "${name}1.tif" "${name}2.tif" -o $name.joined.tif
done
same light_whole.tif light.joined.tif
same turned_whole.tif light_turned.joined.tif
page light.tif light1.tif $hundred --band 1/2 --no-shoulder
expect 3 "does not belong to light1.tif: shoulder is" join light1.tif light2.tif -o result.tif

# What a run tells a program.
expect 0 "" page tall.tif -o none.tif --dry-run --band-rows 100 --band 2/5
expect_output '"firstLine": 100'
gone none.tif
expect 0 "" page tall.tif -o told.tif --json --progress none $options $hundred
expect_output '"bands": 5'
expect_output '"peakMemory"'
"$qva" page tall.tif -o told.tif --progress json --profile device.icc --band-rows 100 2>stderr.txt
grep -q '"stage":"bands","done":5,"all":5' stderr.txt || fail "no progress for programs"

# A print that does not fit goes the same way.
"$qva" print large.tif -o banded.tif --profile device.icc --max-memory 155M 2>stderr.txt ||
    fail "a large print fails: $(cat stderr.txt)"
grep -q "printed in bands" stderr.txt || fail "a print in bands is not told"
expect 0 "" info banded.tif
expect_output "400 x 6000 pixels"

# Killed at any time, the page goes on to the same bytes; under its name there is nothing before.
stop_and_go_on() {
    "$qva" page tall.tif -o stopped.tif $options --band-rows 8 2>stderr.txt &
    local process=$! lines=0
    while [ "$lines" -lt 4 ] && kill -0 $process 2>/dev/null; do
        lines=$(wc -l 2>/dev/null <stopped.tif.qva-journal || echo 0)
    done
    kill -s "$1" $process
    wait $process 2>/dev/null
    gone stopped.tif
    [ -e stopped.tif.qva-part ] || fail "$1 leaves nothing to go on with"
}
page tall.tif fine.tif --band-rows 8
stop_and_go_on KILL
expect 4 "--resume goes on" page tall.tif -o stopped.tif $options --band-rows 8
expect 4 "was begun with other options" page tall.tif -o stopped.tif $options --resume
page tall.tif stopped.tif --band-rows 8 --resume
same fine.tif stopped.tif
gone stopped.tif.qva-part
gone stopped.tif.qva-journal
rm stopped.tif
stop_and_go_on TERM # a job in the background has INT ignored
grep -q "qva page --resume" stderr.txt || fail "a stopped run does not say how to go on"
page tall.tif stopped.tif --band-rows 8 --restart
same fine.tif stopped.tif

# What is wrong is named, with the band where that can be told; nothing gets the final name.
head -c $(($(stat -c %s tall.tif) / 2)) tall.tif >cut.tif
expect 3 "cut.tif: " page cut.tif -o result.tif $options
# Bytes in the middle of the pixels; the directory lies behind them.
cp stripped.tif cut.tif
head -c 400 /dev/zero | dd of=cut.tif bs=1 seek=$(($(stat -c %s cut.tif) / 2)) conv=notrunc 2>/dev/null
expect 3 "(at band 1 of 5 or behind it)" page cut.tif -o result.tif $options $hundred
grep -q "^qva: cut.tif: is damaged" stderr.txt || fail "damage: $(cat stderr.txt)"
(ulimit -f 64; exec "$qva" page tall.tif -o result.tif $options $hundred --compression none 2>stderr.txt)
[ $? = 4 ] || fail "a full disk goes unnoticed"
grep -q "result.tif: cannot be written: .* (band [2-5] of 5, rows " stderr.txt ||
    fail "full disk: $(cat stderr.txt)"
gone result.tif
page tall.tif result.tif $hundred --compression none --resume
rm result.tif
expect 3 "share2.tif: share 1 of 5 is missing" join share2.tif share3.tif -o result.tif
expect 3 "share 5 of 5 is missing" join share[1-4].tif -o result.tif
expect 3 "share3.tif: share 3 of 5 is there twice" join share[1-5].tif share3.tif -o result.tif
page tall.tif other.tif $hundred --band 2/5 --threshold 20
expect 3 "other.tif: does not belong to share1.tif: threshold is 20.0 and 1.3" \
    join share1.tif other.tif share[3-5].tif -o result.tif
head -c $(($(stat -c %s share3.tif) / 2)) share3.tif >cut.tif
expect 3 "cut.tif: " join share[12].tif cut.tif share[45].tif -o result.tif
cp share3.tif flipped.tif
printf 'x' | dd of=flipped.tif bs=1 seek=2000 conv=notrunc 2>/dev/null
expect 3 "flipped.tif: is damaged" join share[12].tif flipped.tif share[45].tif -o result.tif
expect 3 "whole.tif: is not a share of a page" join whole.tif -o result.tif
gone result.tif
expect 1 "few for 6 shares" page tall.tif -o result.tif $options $hundred --band 1/6
expect 1 "raise --max-memory" page tall.tif -o result.tif --max-memory 131M
expect 2 "is a share by another name" join share[1-5].tif -o ./share1.tif
expect 2 "is the photograph" page tall.tif -o ./tall.tif
expect 4 "none/a.tif: cannot be written" page tall.tif -o none/a.tif
# A sheet that cannot be written is refused before the page is rendered.
mkdir folder.png
ln -s nowhere dangling.png
for sheet in none/s.png folder.png dangling.png; do
    "$qva" page tall.tif -o result.tif $options --side-by-side $sheet 2>stderr.txt &&
        fail "$sheet is written"
    grep -q "^qva: $sheet: " stderr.txt || fail "a sheet that cannot be: $(cat stderr.txt)"
    gone result.tif
done
gone result.tif
[ -z "$(find . -name '.qva-*')" ] || fail "a temporary stayed"
finish
