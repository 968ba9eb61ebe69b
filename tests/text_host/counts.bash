#!/usr/bin/env bash
# The tables are those that coreutils make of the same files.
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source-path=SCRIPTDIR source=support.bash
source "$here/support.bash"

# The words of all files below the folders, one per line. Each file by itself: the last word of one file and the first
# of the next are two.
words() {
    find "$@" -type f -exec sh -c 'for file; do tr -cs A-Za-z "\n" <"$file" | tr A-Z a-z; echo; done' sh {} + |
        { grep . || true; }
}

row() { printf '  %-20s %12d\n' "$1" "$2"; }

rows() {
    row documents "$(find "$@" -type f | wc -l)"
    row words "$(words "$@" | wc -l)"
    row 'distinct words' "$(words "$@" | sort -u | wc -l)"
    row bytes "$(find "$@" -type f -exec cat {} + | wc -c)"
}

project() {
    echo "$1"
    rows "$1"
    echo '  commonest words'
    words "$1" | sort | uniq -c | sort -k1,1nr -k2,2 | awk 'NR <= 10' |
        while read -r count word; do row "  $word" "$count"; done
    echo
}

report() {
    for folder; do project "$folder"; done
    echo total
    row projects $#
    rows "$@"
}

# Real text: the sources of the example and of its tests.
cp -R "$here" tests
cp -R "$here/../../examples" sources

# Text that is hard to take apart: no line end at the end, carriage returns, letters outside ASCII, bytes that are no
# UTF-8, digits and underscores inside words, a NUL byte where a file counts as text nevertheless, a word longer than a
# block of the reader, an empty file, names with blanks and glob characters, a hidden file in a hidden folder.
mkdir -p odd/.hidden 'odd/a * b'
printf 'The end' >odd/open-end
printf 'Then the\r\nnext\r\n' >odd/carriage-returns
printf 'na\303\257ve \377\376 STRASSE stra\303\237e x86_64 snake_case\n' >odd/bytes
{ printf '%8192s' ''; printf 'be\0fore the\0the'; } >odd/late-nul
{ head -c 150000 /dev/zero | tr '\0' Q; printf ' the '; head -c 150000 /dev/zero | tr '\0' Q; } >odd/long-word
: >odd/empty
printf 'the a an a\n' >odd/.hidden/.file
printf 'a b\n' >'odd/a * b/c d'

# Twelve words that are equally common, of which the first ten in byte order are shown; and no word at all.
mkdir even none
printf 'l k j i h g f e d c b a' >even/1
printf 'A B C D E F G H I J K L' >even/2
printf '1 2 3 \303\244 _\n' >none/1

run tests sources odd even none
report tests sources odd even none | expect_stdout
: | expect_stderr
expect_status 0
