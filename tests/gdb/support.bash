# shellcheck shell=bash
# What the tests with gdb share; sourced. The build folder is the first argument of the test.
set -euo pipefail
export LC_ALL=C
unset DEBUGINFOD_URLS FOUNDATION_LOG_MASK KV_TAV_STRICT_SHUTDOWN

tests=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
documents=$tests/../../docs
build=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
trusted=$build

# session TRANSCRIPT ARGUMENT...: starts gdb with the arguments, and then plays the transcript.
session() {
    local transcript=$1
    shift
    TRANSCRIPT=$transcript gdb -nx -batch -iex "add-auto-load-safe-path $trusted" "$@" -ex "source $tests/play.py" \
        >"$work/output" 2>&1 || true
    if grep -qx 'The answers are those of the transcript.' "$work/output"; then return; fi
    cat "$work/output"
    echo "FAILED: gdb $*"
    exit 1
}

# stopped_at FUNCTION: gdb's arguments that let a program run to a function.
stopped_at() {
    arguments=(-ex "break $1" -ex run)
}
