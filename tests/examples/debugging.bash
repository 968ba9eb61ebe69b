#!/usr/bin/env bash
# The example of docs/debugging.md runs.
# shellcheck source-path=SCRIPTDIR source=../text_host/support.bash
source "$(dirname "${BASH_SOURCE[0]}")/../text_host/support.bash"

# shellcheck disable=SC2119  # the program takes no arguments, and these are not the script's own
run
expect_status 0
: | expect_stderr
expect_stdout <<'END'
both threads are at work
END
