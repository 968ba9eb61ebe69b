#!/usr/bin/env bash
# A command line that makes no sense is answered with what is wrong and the usage.
# shellcheck source-path=SCRIPTDIR source=support.bash
source "$(dirname "${BASH_SOURCE[0]}")/support.bash"

usage() {
    cat <<'END'
usage: text_host [--plugin FILE] [--threads N] [--teardown] [TRACE] DIR...
       text_host --inspect FORMAT|--teardown-report FORMAT [--threads N] [TRACE] DIR...
       text_host [TRACE] --misuse NAME|list
       text_host --help
TRACE: [--trace] [--trace-file FILE]

Counts the words of every text file below each DIR, which is a project of its own.

  --inspect FORMAT
                 show what is alive when all files were read, in the place of the tables: as
                 text, json or dot (for Graphviz)
  --plugin FILE  add the analysis of a plugin, and show what the plugin leaves behind when
                 it is unloaded
  --threads N    work on N projects at a time (1 to 256; default: as many as there are
                 projects and processors, at most 4)
  --teardown     show the order in which the states died
  --teardown-report FORMAT
                 show how long each state took to die and what its deleter asked for in
                 vain, in the place of the tables: as text or json
  --trace        show the library's diagnostic trace on standard error
  --trace-file FILE
                 append the trace to a file, from which tav-timeline makes a page
  --misuse NAME  misuse the library on purpose and show what its error handler gets;
                 'list' lists the names

Exit status: 0 when everything was read, 1 when something was not, 2 for a wrong command line
or plugin.
END
}

# refused MESSAGE ARGUMENT...
refused() {
    local message=$1
    shift
    run "$@"
    expect_status 2
    : | expect_stdout
    { printf 'text_host: %s\n\n' "$message"; usage; } | expect_stderr
}

mkdir -- -dashed
echo word >-dashed/file

refused 'no DIR given'
refused 'no DIR given' --teardown
refused "unknown option '--treads'" --treads 2 ./-dashed
refused "unknown option '-dashed'" -dashed
refused "unknown option '--teardown=yes'" --teardown=yes ./-dashed
refused '--threads takes a value' --threads
refused "--threads takes a number from 1 to 256, not '0'" --threads 0 ./-dashed
refused '--trace-file takes a value' ./-dashed --trace-file
refused '--misuse takes a value' --misuse
refused '--misuse takes no DIR' --misuse list ./-dashed

run --help
expect_status 0
usage | expect_stdout
: | expect_stderr

run -- -dashed
expect_status 0
: | expect_stderr
[ "$(head -n 1 "$work/stdout")" = -dashed ] || fail "'-- -dashed' opened no project"
