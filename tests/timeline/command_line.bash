#!/usr/bin/env bash
# The whole program: what it says of a command line, of files that can't be used and of damaged traces, and how it ends.
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source-path=SCRIPTDIR source=../text_host/support.bash
source "$here/../text_host/support.bash"
python=$2

usage() {
    cat <<'END'
usage: tav-timeline [--html FILE] [--chrome FILE] [--summary] [TRACE]
       tav-timeline --help

Shows what the diagnostic trace of foundation::tav tells, on a time line. TRACE is a file that
the sinks of foundation/log/console.h have written; without it, and for '-', the trace is read
from standard input.

  --html FILE    write one page for a browser, which loads nothing else
  --chrome FILE  write Chrome trace events (JSON), which Perfetto opens
  --summary      write counts to standard output (done if nothing else is asked for)

Exit status: 0 when all of the trace was read, 1 when some of it was not, 2 for a wrong command
line.
END
}

# refused MESSAGE ARGUMENT...
refused() {
    local message=$1
    shift
    run "$@"
    expect_status 2
    : | expect_stdout
    { printf 'tav-timeline: %s\n\n' "$message"; usage; } | expect_stderr
}

# failed MESSAGE ARGUMENT...
failed() {
    local message=$1
    shift
    run "$@"
    expect_status 1
    : | expect_stdout
    expect_stderr <<<"tav-timeline: $message"
}

time=2026-11-21T02:14:10.00000
destroy='bool {anonymous}::ContextImpl<Scope>::destroy() [with Scope = foundation::tav::scope::Zarn]'
cat >trace <<END
${time}1Z 1 [foundation::tav] 16 push context  zarn=0xb0  workspace=0
${time}2Z 1 [foundation::tav] 32 $destroy  this=0xb0
${time}5Z 1 [foundation::tav] 64 $destroy
END

refused "unknown option '--hmtl'" --hmtl page trace
refused '--html takes a value' trace --html
refused "more than one TRACE given: 'trace' and 'other'" trace other
refused '--html and --chrome name the same file' --html page --chrome page trace
refused "the trace 'trace' would be overwritten" --html trace trace
refused "the trace 'trace' would be overwritten" --chrome ./trace trace
[ "$(wc -l <trace)" -eq 3 ] || fail 'the trace was overwritten'
failed "cannot open 'missing': No such file or directory" missing
failed "cannot open 'rude\\x1b[2J': No such file or directory" $'rude\e[2J'
failed "cannot read '.': Is a directory" .
failed "cannot write 'missing/page': No such file or directory" --html missing/page trace
failed "cannot write 'missing/events': No such file or directory" --chrome missing/events trace
failed "cannot write '/dev/full': No space left on device" --html /dev/full trace

run --help
expect_status 0
: | expect_stderr
head -n "$(usage | wc -l)" "$work/stdout" | diff -u <(usage) - || fail 'the help begins with something else'
grep -qF 'What a trace does not tell' "$work/stdout" || fail 'the help does not say what a trace does not tell'

# All outputs at once, each of them whole.
run --html page.html --chrome events.json --summary trace
expect_status 0
: | expect_stderr
grep -qx '             3  records' "$work/stdout" || fail 'the summary lacks the records'
"$python" -m json.tool events.json /dev/null || fail 'the events are no JSON'
sed -n '/id="data">/,/<\/script>/p' page.html | sed '1d;$d' | "$python" -m json.tool - /dev/null || fail 'the data are no JSON'
[ "$(tail -n 1 page.html)" = '</html>' ] || fail 'the page is not whole'
run trace
cp "$work/stdout" "$work/expected"

# From standard input, named or not.
for arguments in '' - '--summary -'; do
    status=0
    # shellcheck disable=SC2086
    "$program" $arguments <trace >"$work/stdout" 2>"$work/stderr" || status=$?
    expect_status 0
    sed 's/^trace$/standard input/' "$work/expected" | expect_stdout
done

# What could not be read is told on standard error, in the summary, the page and the events, and by the exit status.
{ echo rubbish; cat trace; tail -n 1 trace | head -c 50; } >damaged
run --html page.html --chrome events.json --summary damaged
expect_status 1
expect_stderr <<'END'
tav-timeline: lines that are no records: 1 (line 1)
tav-timeline: last lines that are cut off: 1 (line 5)
END
tail -n 2 "$work/stdout" | diff -u <(sed 's/^tav-timeline: //' "$work/stderr") - || fail 'the summary says something else'
grep -qxF '<li>lines that are no records: 1 (line 1)</li>' page.html || fail 'the page does not tell of the rubbish'
[ "$("$python" -c 'import json; print(json.load(open("events.json"))["otherData"]["unreadableLines"])')" = 2 ] ||
    fail 'the events do not tell of the rubbish'

# Bytes of any kind end neither the program nor its formats.
head -c 300000 /dev/urandom >noise
run --html page.html --chrome events.json noise
expect_status 1
"$python" -m json.tool events.json /dev/null || fail 'the events of noise are no JSON'

# Nothing at all is not a trace.
: >empty
run empty
expect_status 1
expect_stderr <<<"tav-timeline: there is no record in 'empty'"

# Counts that could not be written are no success.
arguments='trace >/dev/full'
status=0
"$program" trace >/dev/full 2>"$work/stderr" || status=$?
expect_status 1
expect_stderr <<<'tav-timeline: cannot write to standard output'

# On a terminal there is a bar, which is gone at the end.
for _ in $(seq 2500); do head -n 1 trace; done >long
command=$(printf '%q ' "$program" --html page.html long)
SHELL=/bin/sh script --quiet --return --command "$command" /dev/null </dev/null >"$work/shown" ||
    fail "the long trace could not be read: $(cat "$work/shown")"
bar=$'^\r\e\\[K\\[#+ *\\] +[0-9]+ %  1024 records'
grep -qE "$bar" "$work/shown" || fail "the terminal shows $(cat -v "$work/shown")"
[ "$(tail -c 4 "$work/shown")" = $'\r\e[K' ] || fail 'the bar is still there'
