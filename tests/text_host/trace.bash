#!/usr/bin/env bash
# The trace goes to standard error, indented, and leaves standard output alone.
# shellcheck source-path=SCRIPTDIR source=support.bash
source "$(dirname "${BASH_SOURCE[0]}")/support.bash"

mkdir project
echo 'a word' >project/file

run --threads 1 project
expect_status 0
: | expect_stderr
cp "$work/stdout" "$work/expected"

# records SEVERITY: how many there are of the severity.
records() { grep -c "^[^ ]* [0-9]* \[foundation::tav\] $1 " "$work/stderr"; }

run --threads 1 --trace project
expect_status 0
expect_stdout <"$work/expected"
record='^[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}\.[0-9]{6}Z [12] \[foundation::tav\] (16|32|64) '
! grep -vE "$record" "$work/stderr" || fail 'those are no records'
[ "$(records 32)" -eq "$(records 64)" ] || fail "$(records 32) scopes were entered and $(records 64) left"
grep -qF '[foundation::tav] 16 push context  zarn=' "$work/stderr" || fail 'no activation was traced'

# What happens inside of a destruction is indented below it, with the details of the operation.
grep -qE '\[foundation::tav\] 32 [^ ].*::destroy\(\).*  this=0x' "$work/stderr" || fail 'no destruction was traced'
grep -qE '\[foundation::tav\] 32   [^ ].*::releaseParentNoLock\(\).*  this=0x' "$work/stderr" ||
    fail 'the records inside of a destruction are not indented'

# To a file instead, which a second run appends to.
whole=$(wc -l <"$work/stderr")
for run in 1 2; do
    run --threads 1 --trace-file trace.log project
    expect_status 0
    expect_stdout <"$work/expected"
    : | expect_stderr
    [ "$(wc -l <trace.log)" -eq $((run * whole)) ] || fail "run $run left $(wc -l <trace.log) records in the file"
done
! grep -vE "$record" trace.log || fail 'those are no records'

# To both at once, alike.
run --threads 1 --trace --trace-file both.log project
expect_status 0
[ "$(wc -l <both.log)" -eq "$(wc -l <"$work/stderr")" ] || fail 'the file has other records than standard error'

# A file that can't be opened is named, and nothing is done.
run --trace-file missing/trace.log project
expect_status 1
: | expect_stdout
expect_stderr <<<'text_host: filesystem error: cannot open the log file: No such file or directory [missing/trace.log]'

# Without the option the mask is the environment's.
export FOUNDATION_LOG_MASK=foundation::tav=16
run --threads 1 project
expect_status 0
expect_stdout <"$work/expected"
[ "$(records 16)" -eq "$(wc -l <"$work/stderr")" ] || fail 'other severities were traced than the environment says'
