#!/usr/bin/env bash
# The number of threads changes nothing that is written to standard output.
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source-path=SCRIPTDIR source=support.bash
source "$here/support.bash"

for project in a b c d e f; do
    cp -R "$here" "$project"
    echo "$project only" >"$project/own"
done
run --threads 1 a b c d e f
expect_status 0
cp "$work/stdout" "$work/expected"

for threads in 2 4 256; do
    run --threads "$threads" a b c d e f
    expect_status 0
    expect_stdout <"$work/expected"
    : | expect_stderr
done

# The tables come in the order of the arguments, and a directory given twice is two projects.
run --threads=4 f a a
expect_status 0
[ "$(grep '^[a-z]' "$work/stdout" | tr '\n' ' ')" = 'f a a total ' ] || fail 'the tables are in another order'
