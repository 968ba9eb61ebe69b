#!/usr/bin/env bash
# The example of hand-off in docs/using.md runs: the document's text was written by three threads.
# shellcheck source-path=SCRIPTDIR source=support.bash
source "$(dirname "${BASH_SOURCE[0]}")/support.bash"

# shellcheck disable=SC2119  # the program takes no arguments, and these are not the script's own
run
expect_status 0
: | expect_stderr
expect_stdout <<'END'
one two three
END
