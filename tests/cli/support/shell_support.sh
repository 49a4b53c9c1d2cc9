# Helpers of the shell tests. Each is run as: bash NAME_test.sh QVA MAKE_SAMPLES
set -u
qva=$(realpath "$1")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
"$2" "$folder" || { echo "no samples"; exit 1; }
cd "$folder" || exit 1
failures=0

fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

# expect CODE TEXT ARGUMENTS...: runs qva; the exit code must be CODE and standard error one line
# that holds TEXT (none at all where TEXT is empty).
expect() {
    local code=$1 text=$2 got lines
    shift 2
    "$qva" "$@" >stdout.txt 2>stderr.txt
    got=$?
    lines=$(wc -l <stderr.txt)
    [ "$got" = "$code" ] || fail "exit code $got instead of $code: $* ($(head -c 300 stderr.txt))"
    if [ -z "$text" ]; then
        [ "$lines" = 0 ] || fail "unexpected message: $* ($(head -c 300 stderr.txt))"
    elif [ "$lines" != 1 ] || ! grep -qF -- "$text" stderr.txt; then
        fail "message is not one line with '$text': $* ($(head -c 300 stderr.txt))"
    fi
}

# expect_output TEXT: the last run wrote TEXT to standard output.
expect_output() {
    grep -qF -- "$1" stdout.txt || fail "standard output lacks '$1'"
}

finish() {
    [ "$failures" = 0 ] && echo "passed"
    exit $((failures > 0))
}
