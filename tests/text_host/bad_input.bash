#!/usr/bin/env bash
# Whatever can't be analysed is named with the reason, the rest is still done, and the exit status tells of it.
# shellcheck source-path=SCRIPTDIR source=support.bash
source "$(dirname "${BASH_SOURCE[0]}")/support.bash"

total() {
    printf 'total\n'
    printf '  %-20s %12d\n' projects "$1" documents "$2" words "$3" 'distinct words' "$4" bytes "$5"
}

one_word_project() {
    printf '%s\n' "$1"
    printf '  %-20s %12d\n' documents 1 words 1 'distinct words' 1 bytes 5
    printf '  commonest words\n  %-20s %12d\n\n' '  word' 1
}

empty_project() {
    printf '%s\n' "$1"
    printf '  %-20s %12d\n' documents 0 words 0 'distinct words' 0 bytes 0
    printf '  commonest words\n\n'
}

mkdir good
echo word >good/file

# Directories that are none: each is named, the one that is good is analysed wherever it stands.
ln -s nowhere dangling
ln -s loop loop
: >file
mkfifo pipe
run missing dangling loop file pipe '' good
expect_status 1
{ one_word_project good; total 1 1 1 1 5; } | expect_stdout
expect_stderr <<'END'
text_host: 'missing': No such file or directory
text_host: 'dangling': No such file or directory
text_host: 'loop': Too many levels of symbolic links
text_host: 'file': Not a directory
text_host: 'pipe': Not a directory
text_host: '': No such file or directory
END

# No project at all still ends with the totals.
run missing
expect_status 1
total 0 0 0 0 0 | expect_stdout
expect_stderr <<<"text_host: 'missing': No such file or directory"

# Below a directory: a pipe that nobody writes to is not waited for, binary files and empty folders are named.
mkdir -p mixed/empty mixed/folder/deeper
printf 'word\0' >mixed/binary
printf 'more\0' >mixed/folder/deeper/binary
mkfifo mixed/pipe
echo word >mixed/text
run mixed
expect_status 1
{ one_word_project mixed; total 1 1 1 1 5; } | expect_stdout
expect_stderr <<'END'
text_host: 'mixed/empty': empty folder
text_host: 'mixed/pipe': not a regular file
text_host: 'mixed/binary': binary file (it holds a NUL byte)
text_host: 'mixed/folder/deeper/binary': binary file (it holds a NUL byte)
END

# An empty directory is a project without documents.
mkdir empty
run empty good
expect_status 1
{ empty_project empty; one_word_project good; total 2 1 1 1 5; } | expect_stdout
expect_stderr <<<"text_host: 'empty': empty folder"

# Symbolic links below a directory are passed over, a loop of them included; the directory itself may be one.
mkdir linked
echo word >linked/file
ln -s . linked/itself
ln -s .. linked/up
ln -s file linked/same
ln -s nowhere linked/dangling
ln -s linked link
run link
expect_status 0
{ one_word_project link; total 1 1 1 1 5; } | expect_stdout
: | expect_stderr

# Files and folders that the system refuses to open: their paths are too long, which holds for root too.
name=$(head -c 250 /dev/zero | tr '\0' n)
path=deep
mkdir deep
cd deep
for ((level = 1; level <= 16; ++level)); do
    mkdir "$name"
    cd "$name"
    path+=/$name
done
mkdir "$name"
echo word >"${name/n/f}"
cd "$work/here"
echo word >deep/text
run deep
expect_status 1
{ one_word_project deep; total 1 1 1 1 5; } | expect_stdout
expect_stderr <<END
text_host: '$path/${name/n/f}': File name too long
text_host: '$path/$name': File name too long
END

# A name with control characters reaches no terminal as it is.
mkdir $'rude\e[2J'
printf '\0' >$'rude\e[2J/line\nfeed'
run $'rude\e[2J'
expect_status 1
{ empty_project 'rude\x1b[2J'; total 1 0 0 0 0; } | expect_stdout
expect_stderr <<<"text_host: 'rude\\x1b[2J/line\\x0afeed': binary file (it holds a NUL byte)"

# A table that could not be written is no success.
arguments='good >/dev/full'
status=0
"$program" good >/dev/full 2>"$work/stderr" || status=$?
expect_status 1
expect_stderr <<<'text_host: cannot write to standard output'
