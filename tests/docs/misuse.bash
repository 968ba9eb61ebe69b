#!/usr/bin/env bash
# Usage: misuse.bash PROGRAM MESSAGES_FOLDER
# Each lesson's mistake is reported, its remedy is not, and a page shows it. (What the pages show is compared by the test
# of transcripts.)
set -euo pipefail

status=0
for name in $("$1" list); do
    "$1" "$name" || status=1
    grep -qE "bin/misuse $name( |\$)" "$2"/*.md || { echo "FAILED: no page shows '$name'" >&2; status=1; }
done
exit $status
