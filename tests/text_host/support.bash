# shellcheck shell=bash
# What the tests of whole programs share; sourced. The program under test is the first argument of the test.
set -euo pipefail
export LC_ALL=C
unset FOUNDATION_LOG_MASK KV_TAV_STRICT_SHUTDOWN

program=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/here"
cd "$work/here"

fail() {
    printf 'FAILED: %s\n' "$*" >&2
    exit 1
}

# run ARGUMENT...: runs the program and keeps what it wrote and its exit status.
run() {
    arguments=$*
    status=0
    "$program" "$@" >"$work/stdout" 2>"$work/stderr" </dev/null || status=$?
}

expect_status() {
    [ "$status" -eq "$1" ] || fail "'$arguments' ended with $status, not $1; it said: $(cat "$work/stderr")"
}

# expect_stdout, expect_stderr: the whole output is what stands on standard input.
expect_stdout() {
    diff -u - "$work/stdout" || fail "'$arguments' wrote something else to standard output"
}
expect_stderr() {
    diff -u - "$work/stderr" || fail "'$arguments' wrote something else to standard error"
}
