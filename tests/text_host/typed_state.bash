#!/usr/bin/env bash
# The example of docs/using.md runs.
# shellcheck source-path=SCRIPTDIR source=support.bash
source "$(dirname "${BASH_SOURCE[0]}")/support.bash"

# shellcheck disable=SC2119  # the program takes no arguments, and these are not the script's own
run
expect_status 0
: | expect_stderr
expect_stdout <<'END'
3 items
erased
END
