#!/usr/bin/env bash
# The installed library brings gdb's commands along, from wherever it was moved; stripped, they say what is missing.
# shellcheck source-path=SCRIPTDIR source=support.bash
source "$(dirname "${BASH_SOURCE[0]}")/support.bash"
cmake=$2

"$cmake" --install "$build" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/moved"
trusted=$work/moved
LD_LIBRARY_PATH=$(dirname "$(find "$work/moved" -name 'libfoundation_tav.so')")
export LD_LIBRARY_PATH

stopped_at meanwhile
session "$documents/debugging.md" "${arguments[@]}" "$build/bin/debugging"

strip "$LD_LIBRARY_PATH"/libfoundation_*.so
stopped_at printed::allThere
session "$tests/no_debug_information.txt" "${arguments[@]}" \
    -ex "source $work/moved/share/foundation_tav/gdb/tav.py" "$build/bin/printed"
