#!/usr/bin/env bash
# The example without the typed layer runs; each state dies with its context.
# shellcheck source-path=SCRIPTDIR source=../text_host/support.bash
source "$(dirname "${BASH_SOURCE[0]}")/../text_host/support.bash"

# shellcheck disable=SC2119  # the program takes no arguments, and these are not the script's own
run
expect_status 0
: | expect_stderr
expect_stdout <<'END'
document 1: first text
document deleted
document 2: second text
document deleted
project closes
project deleted
END
