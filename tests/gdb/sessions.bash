#!/usr/bin/env bash
# What gdb says of programs that are stopped, and the same of their core files.
# shellcheck source-path=SCRIPTDIR source=support.bash
source "$(dirname "${BASH_SOURCE[0]}")/support.bash"
programs=$build/bin

# live_and_core TRANSCRIPT PROGRAM FUNCTION
live_and_core() {
    stopped_at "$3"
    session "$1" "${arguments[@]}" -ex "generate-core-file $work/core" "$2"
    session "$1" "$2" "$work/core"
}

live_and_core "$documents/debugging.md" "$programs/debugging" meanwhile

# Which thread is where can't be told without the system's thread library.
session "$tests/no_thread_library.txt" -iex "set libthread-db-search-path /nonexistent" \
    "$programs/debugging" "$work/core"

live_and_core "$tests/printed.txt" "$programs/printed" printed::allThere
live_and_core "$tests/no_context.txt" "$programs/printed" printed::beforeAll
live_and_core "$tests/deleting.txt" "$programs/printed" printed::Dying::deleting

stopped_at printed::allThere
session "$tests/damaged.txt" "${arguments[@]}" "$programs/printed"
session "$tests/no_process.txt" "${arguments[@]}" -ex kill "$programs/printed"
