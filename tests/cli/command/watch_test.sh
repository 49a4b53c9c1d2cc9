# qva watch: pictures that come in any way, broken ones, restarts.
. "$(dirname "$0")/../support/shell_support.sh"
mkdir in

watch() {
    "$qva" watch in -o out --profile device.icc --settle 0.3 --jobs 2 "$@" 2>>stderr.txt &
    process=$!
}
# within SECONDS CONDITION
within() {
    for ((i = 0; i < 10 * $1; ++i)); do
        eval "$2" && return
        sleep 0.1
    done
    fail "not within $1 s: $2 ($(tail -3 stderr.txt))"
}
stop() {
    kill -s "$1" $process
    { wait $process; got=$?; } 2>/dev/null
    [ "$got" = $((128 + $(kill -l "$1"))) ] || fail "$1 ends it with $got"
}
records() {
    grep -c '"status":"done"' out/qva-watch.jsonl
}

cp photo.exr in/first.exr
watch
within 20 '[ -e out/first.tif ]'
cp photo.hdr in/copied.hdr
cp photo.png .moved.png && mv .moved.png in/moved.png
within 20 '[ -e out/copied.tif ] && [ -e out/moved.tif ]'

# A file that is written slowly: open for longer than a file must have been left alone.
(head -c 3000 photo16.tif; sleep 1.5; tail -c +3001 photo16.tif) >in/slow.tif &
# Written in pieces by many openings.
(head -c 3000 photo32.tif >in/pieces.tif; sleep 0.2; tail -c +3001 photo32.tif >>in/pieces.tif) &
cp photo.exr in/upload.exr.part
within 20 '[ -e out/slow.tif ] && [ -e out/pieces.tif ]'
[ ! -e in/failed ] || fail "a file was taken before it was complete: $(ls in/failed)"
mv in/upload.exr.part in/upload.exr
within 20 '[ -e out/upload.tif ]'
[ "$(ls out | grep -c part)" = 0 ] || fail "a provisional name was printed"

# What cannot be printed goes away, with its reason; what it would replace stays.
head -c 300 photo.exr >in/cut.exr
cp photo.hdr in/first.hdr
within 20 '[ -e in/failed/cut.exr.txt ] && [ -e in/failed/first.hdr.txt ]'
grep -q "cut.exr" in/failed/cut.exr.txt || fail "reason: $(cat in/failed/cut.exr.txt)"
grep -q "first.exr already: give --name" in/failed/first.hdr.txt || fail "reason: $(cat in/failed/first.hdr.txt)"
[ ! -e in/cut.exr ] || fail "a picture that failed stays"
head -c 200 photo.exr >in/cut.exr
within 20 '[ -e in/failed/cut-2.exr ]'
cmp -s in/failed/cut.exr <(head -c 300 photo.exr) || fail "a picture that failed was replaced"

# Restarted, it prints nothing twice; what was replaced meanwhile it prints again.
stop TERM
count=$(records)
[ "$count" = 6 ] || fail "$count records of 6"
cp photo.hdr in/late.hdr
{ cat photo.exr; echo; } >in/upload.exr
watch
within 20 '[ -e out/late.tif ] && [ "$(records)" = 8 ]'
sleep 1
[ "$(records)" = 8 ] || fail "printed twice: $(records)"
stop KILL
watch
cp photo.hdr in/last.hdr
within 20 '[ -e out/last.tif ]'
expect 4 "another qva batch or watch" watch in -o out
rm -r in
within 20 '! kill -0 $process 2>/dev/null'
{ wait $process; got=$?; } 2>/dev/null
[ "$got" = 3 ] || fail "a folder that is gone: $got"

expect 2 "{n} counts" watch . -o out --name '{n}.tif'
expect 2 "is the folder that is watched" watch out -o ./out
expect 3 "cannot be watched" watch none -o out
finish
