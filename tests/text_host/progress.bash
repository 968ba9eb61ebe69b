#!/usr/bin/env bash
# On a terminal the host shows how far it is, and takes that away again before the tables.
# shellcheck source-path=SCRIPTDIR source=support.bash
source "$(dirname "${BASH_SOURCE[0]}")/support.bash"

mkdir project
echo 'three words here' >project/file
run project
expect_status 0

# on_terminal ARGUMENT...: runs the program with a terminal of its own, which puts a carriage return before each line
# end.
on_terminal() {
    local command
    printf -v command '%q ' "$program" "$@"
    SHELL=/bin/sh script --quiet --return --command "$command" /dev/null </dev/null
}

# One document is one update, the first of which is never held back.
{ printf 'documents: 1  words: 3\r\033[K'; sed 's/$/\r/' "$work/stdout"; } >"$work/expected"
on_terminal project >"$work/shown"
diff -u <(cat -v "$work/expected") <(cat -v "$work/shown") || fail 'the terminal shows something else'

# A trace would be cut up by progress, so there is none.
on_terminal --trace project >"$work/shown"
! grep -F 'documents: ' "$work/shown" || fail 'there is progress between the records'
