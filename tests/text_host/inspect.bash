#!/usr/bin/env bash
# What is alive when all files were read is shown as text, JSON and a graph, and all three show the same.
# shellcheck source-path=SCRIPTDIR source=support.bash
source "$(dirname "${BASH_SOURCE[0]}")/support.bash"

mkdir one two
echo 'a word' >one/file
echo 'two more words' >two/file

# Addresses by their order of appearance, sizes as N, and the program by its name.
normalised() {
    awk -v program="$program" '{
        rest = $0
        line = ""
        while (match(rest, /0x[0-9a-f]+/)) {
            address = substr(rest, RSTART, RLENGTH)
            if (!(address in number)) number[address] = ++count
            line = line substr(rest, 1, RSTART - 1) "@" number[address]
            rest = substr(rest, RSTART + RLENGTH)
        }
        line = line rest
        at = index(line, program)
        if (at) line = substr(line, 1, at - 1) "text_host" substr(line, at + length(program))
        gsub(/[0-9]+ bytes/, "N bytes", line)
        print line
    }' "$work/stdout" >"$work/normalised"
    mv "$work/normalised" "$work/stdout"
}

run --inspect text --threads 2 one two
expect_status 0
: | expect_stderr
normalised
expect_stdout <<'END'
Process @1, running, activated 1 time
    text_host::RunSummary, id 2, N bytes at @2, deleter in text_host
    text_host::Dictionary, id 1, N bytes at @3, deleter in text_host
    text_host::Console, id 0, N bytes at @4, deleter in text_host
    Zarn @5, running, not current
        text_host::ProjectIndex, id 1, N bytes at @6, deleter in text_host
        text_host::Project, id 0, N bytes at @7, deleter in text_host
    Zarn @8, running, not current
        text_host::ProjectIndex, id 1, N bytes at @9, deleter in text_host
        text_host::Project, id 0, N bytes at @10, deleter in text_host
END
cp "$work/stdout" "$work/text"

run --inspect json one two
expect_status 0
: | expect_stderr
python3 - "$work/stdout" >"$work/read" <<'END'
import json
import sys


def write(context, indentation):
    current = "not current" if context["parent"] else "activated 1 time"
    print(f"{indentation}{context['scope']} {context['address']}, {context['state']}, {current}")
    indentation += "    "
    for state in context["states"]:
        print(f"{indentation}{state['type']}, id {state['id']}, {state['size']} bytes at {state['address']}, "
              f"deleter in {state['module']}")
    for child in context["children"]:
        write(child, indentation)


with open(sys.argv[1], encoding="utf-8") as file:
    write(json.load(file)["process"], "")
END
mv "$work/read" "$work/stdout"
normalised
expect_stdout <"$work/text"

run --inspect dot one two
expect_status 0
: | expect_stderr
normalised
expect_stdout <<'END'
digraph contexts {
    node [shape=box, fontname="sans-serif"];
    "@1" [penwidth=3, label="Process @1, running, activated 1 time\ltext_host::RunSummary, N bytes\ltext_host::Dictionary, N bytes\ltext_host::Console, N bytes\l"];
    "@2" [style=solid, label="Zarn @2, running, not current\ltext_host::ProjectIndex, N bytes\ltext_host::Project, N bytes\l"];
    "@1" -> "@2";
    "@3" [style=solid, label="Zarn @3, running, not current\ltext_host::ProjectIndex, N bytes\ltext_host::Project, N bytes\l"];
    "@1" -> "@3";
}
END
