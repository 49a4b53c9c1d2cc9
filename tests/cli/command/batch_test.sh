# qva batch: many pictures, with faults among them, killed and stopped at any time.
. "$(dirname "$0")/../support/shell_support.sh"
schema=$(dirname "$0")/../../../cli/output.schema.json
checker=$(dirname "$0")/../support/check_output.py
options="--profile device.icc --compression none --quiet"

# batch CODE ARGUMENTS...: remarks and progress are not compared.
batch() {
    local code=$1 got
    shift
    "$qva" batch "$@" >stdout.txt 2>stderr.txt
    got=$?
    [ $got = "$code" ] || fail "exit code $got instead of $code: batch $* ($(head -c 400 stderr.txt))"
}
told() {
    grep -qF -- "$1" stderr.txt || fail "not told: $1 ($(head -c 400 stderr.txt))"
}
# prints made so far: a line of the journal each.
prints() {
    cat "$1/qva-batch.jsonl" 2>/dev/null | grep -c '"status":"done"' || true
}

mkdir photos
cp photo.exr photos/a.exr
cp photo.hdr photos/b.hdr
cp photo16.tif photos/c.tif
cp device.icc photos/no_picture.icc
# shellcheck disable=SC2086
"$qva" print photo.exr -o single.tif $options

# A folder, a list, a glob: each picture once, and the bytes of a print alone.
printf 'photos/b.hdr\nphotos/a.exr\n' >list.txt
batch 0 photos list.txt 'photos/*.tif' -o out --profile device.icc --compression none --jobs 2
told "3/3 "
told "3 printed"
cmp -s single.tif out/a.tif || fail "a batch prints other bytes"
[ "$(find out -name '*.tif' | wc -l)" = 3 ] || fail "prints: $(ls out)"
/usr/bin/python3 "$checker" "$schema" out/qva-batch.jsonl 2>check.txt || fail "records: $(cat check.txt)"

# What is up to date is left; another picture, option, profile or a print that was changed is not.
again() {
    local expected=$1
    shift
    # shellcheck disable=SC2086
    batch 0 photos -o out ${profile---profile device.icc} --compression none --json "$@"
    grep -q "\"printed\":$expected," stdout.txt || fail "not $expected printed again: $* $(tail -1 stdout.txt)"
}
again 0
again 0 --threads 1 --jobs 1
again 3 --force
cp photo32.tif photos/c.tif
again 1
again 3 --threshold 2
again 3
echo more >>out/b.tif
again 1
rm out/a.tif
again 1
profile="--profile printer.icc"
again 3
batch 0 photos -o out --profile printer.icc --compression none --dry-run --json
[ "$(grep -c '"upToDate": true' stdout.txt)" = 3 ] || fail "--dry-run: $(cat stdout.txt)"
/usr/bin/python3 "$checker" "$schema" stdout.txt batchPlan 2>check.txt || fail "plan: $(cat check.txt)"
mkdir other
cp photo.exr other/a.exr
printf 'end' >>other/a.exr
batch 0 other -o fresh --dry-run
[ ! -e fresh ] || fail "--dry-run makes a folder"

# A picture that fails is told last, and with --keep-going keeps nobody from the others.
head -c 300 photo.exr >photos/aa.exr
# shellcheck disable=SC2086
batch 1 photos -o kept $options --keep-going --json
[ "$(find kept -name '*.tif' | wc -l)" = 3 ] || fail "--keep-going: $(ls kept)"
tail -2 stderr.txt | head -1 | grep -q "^qva: failed: photos/aa.exr: " || fail "last: $(tail -2 stderr.txt)"
/usr/bin/python3 "$checker" "$schema" stdout.txt 2>check.txt || fail "records: $(cat check.txt)"
grep -q '"exitCode":3,' kept/qva-batch.jsonl || fail "no exit code in the record"
# shellcheck disable=SC2086
batch 1 photos none.exr -o ended $options --jobs 1
[ "$(find ended -name '*.tif' | wc -l)" = 1 ] || fail "goes on behind a failure: $(ls ended)"
# A process of a print that is killed takes nothing else with it.
(
    until pkill -KILL -P "$(pgrep -f 'batch photos -o killed' | head -1)" 2>/dev/null; do :; done
) &
# shellcheck disable=SC2086
batch 1 photos -o killed $options --keep-going
wait
told "ended by signal 9"
[ "$(find killed -name '*.tif' | wc -l)" -ge 2 ] || fail "a kill takes others: $(ls killed)"
rm photos/aa.exr
# shellcheck disable=SC2086
batch 0 photos -o killed $options
[ "$(find killed -name '*.tif' | wc -l)" = 3 ] || fail "does not go on: $(ls killed)"

# Stopped or killed itself, it goes on; nothing is printed twice.
mkdir many
for ((i = 0; i < 24; ++i)); do
    cp photo.exr "many/$i.exr"
    printf '%d' $i >>"many/$i.exr"
done
for signal in TERM INT KILL; do
    out=stopped$signal
    # A job in the background has INT ignored.
    # shellcheck disable=SC2086
    env --default-signal=INT "$qva" batch many -o $out $options --jobs 2 --side-by-side '{name}-look.png' 2>stderr.txt &
    process=$!
    until [ "$(prints $out)" -ge 3 ]; do kill -0 $process || break; done
    kill -s $signal $process
    { wait $process; got=$?; } 2>/dev/null
    [ $got = $((128 + $(kill -l $signal))) ] || fail "$signal ends it with $got"
    [ "$(prints $out)" -lt 24 ] || fail "$signal stops nothing"
    # Those whose sheet, which comes last, is there.
    before=$(for sheet in $out/*-look.png; do
        find "${sheet%-look.png}.tif" -printf '%f %T@\n'
    done | sort)
    [ $signal = KILL ] || [ -z "$(find $out -name '.qva-*')" ] || fail "$signal leaves temporaries"
    (cd / && "$qva" batch --resume -o "$OLDPWD/$out" --jobs 2 2>"$OLDPWD/stderr.txt") ||
        fail "--resume after $signal: $(cat stderr.txt)"
    [ "$(find $out -name '*.tif' | wc -l)" = 24 ] || fail "$signal loses: $(ls $out)"
    [ "$(find $out -name '*-look.png' | wc -l)" = 24 ] || fail "$signal loses sheets"
    [ -z "$(comm -23 <(echo "$before") <(find $out -name '[0-9]*.tif' -printf '%f %T@\n' | sort))" ] ||
        fail "printed twice after $signal"
done

# A print that outlives its batch may still get its name: the next batch begins nothing before that.
# shellcheck disable=SC2086
"$qva" batch many/[0-5].exr -o orphan $options --jobs 1 &
process=$!
until print=$(tr -d ' ' </proc/$process/task/$process/children) && kill -STOP "$print" 2>/dev/null &&
    sleep 0.1 && grep -q '^State:.T' "/proc/$print/status"; do kill -0 $process || break; done
kill -KILL $process
{ wait $process; } 2>/dev/null
begun=$(grep -c '"status":"begun"' orphan/qva-batch.jsonl)
# shellcheck disable=SC2086
"$qva" batch many/[0-5].exr -o orphan $options --jobs 1 2>stderr.txt &
process=$!
until grep -q "waits for the prints" stderr.txt; do kill -0 $process 2>/dev/null || break; done
sleep 0.5
[ "$(grep -c '"status":"begun"' orphan/qva-batch.jsonl)" = "$begun" ] || fail "a print is begun beside another of it"
kill -CONT "$print"
wait $process || fail "a batch that waited fails: $(cat stderr.txt)"
[ "$(find orphan -name '*.tif' | wc -l)" = 6 ] || fail "a batch that waited: $(ls orphan)"

printf '{"status":"done","outp' >>stoppedTERM/qva-batch.jsonl
# shellcheck disable=SC2086
batch 0 many -o stoppedTERM $options --side-by-side '{name}-look.png' --force
tail -1 stoppedTERM/qva-batch.jsonl | grep -q '^{.*}$' || fail "a cut record spoils the next"

# Shares of a list, at the same time.
for i in 1 2 3; do
    # shellcheck disable=SC2086
    "$qva" batch many -o shared $options --part $i/3 --jobs 1 &
done
wait
[ "$(find shared -name '*.tif' | wc -l)" = 24 ] || fail "shares: $(ls shared)"
[ "$(cat shared/*.jsonl | grep -c '"status":"done"')" = 24 ] || fail "shares print twice"

# Memory is shared out: a share of it that is too small waits for all of it.
cp large.tif many/
"$qva" batch many/large.tif many/1.exr many/2.exr -o memory $options --jobs 2 --max-memory 330M ||
    fail "a large picture fails"
grep -o '"file":"many/large.tif".*"inBands":[a-z]*' memory/qva-batch.jsonl | grep -q 'true' ||
    fail "a large picture is printed at once"

expect 2 "is the name of two results" batch photos photos/../photo.exr other/a.exr -o x
expect 2 "would replace a picture" batch photos/c.tif -o photos
expect 2 "a brace stands around none" batch photos -o x --name '{nam}.tif'
expect 2 "names a folder" batch photos -o x --name 'x/{name}.tif'
expect 2 "names no pictures" batch -o x
mkdir empty
expect 2 "holds no pictures" batch empty -o x
expect 3 "no batch to go on with" batch --resume -o x
expect 2 "goes on with the pictures and options of before" batch --resume -o killed --dpi 300
expect 2 "goes on with the pictures and options of before" batch --resume photos/a.exr -o killed
expect 2 "matches no file" batch 'none/*.exr' -o x

# Another picture of the same name does not take the print's place, nor what was there with --no-clobber.
mkdir card1 card2 mine
cp photo.exr card1/a.exr
cp photo.png card2/a.exr
batch 0 card1 -o cards $options
sum=$(md5sum <cards/a.tif)
expect 2 "card1/a.exr already" batch card2 -o cards $options
[ "$sum" = "$(md5sum <cards/a.tif)" ] || fail "the print of another picture is replaced"
echo mine >mine/a.tif
batch 1 card1 -o mine $options --no-clobber
[ "$(cat mine/a.tif)" = mine ] || fail "--no-clobber replaces"
expect 5 "none.icc" batch photos -o x --profile none.icc
[ ! -e x ] || fail "a misused call makes a folder"
finish
