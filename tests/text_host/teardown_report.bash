#!/usr/bin/env bash
# How each state died is shown as text and JSON, and both show the same.
# shellcheck source-path=SCRIPTDIR source=support.bash
source "$(dirname "${BASH_SOURCE[0]}")/support.bash"

mkdir one
echo 'a word' >one/file
# By this name the program knows itself, and says so of its deleters.
ln -s "$program" text_host
program=./text_host

# Addresses and durations by a letter.
normalised() {
    sed -i -E 's/0x[0-9a-f]+/@/; s/[0-9]+\.[0-9]{3} ms, d/N ms, d/' "$work/stdout"
}

run --teardown-report text --threads 1 one
expect_status 0
: | expect_stderr
normalised
expect_stdout <<'END'
7 deletions, 0 over the limit of 100.000 ms, 0 late uses
text_host::WordCounts, id 1, of Workspace @: N ms, deleter in ./text_host
text_host::Document, id 0, of Workspace @: N ms, deleter in ./text_host
text_host::ProjectIndex, id 1, of Zarn @: N ms, deleter in ./text_host
text_host::Project, id 0, of Zarn @: N ms, deleter in ./text_host
text_host::RunSummary, id 2, of Process @: N ms, deleter in ./text_host
text_host::Dictionary, id 1, of Process @: N ms, deleter in ./text_host
text_host::Console, id 0, of Process @: N ms, deleter in ./text_host
END
cp "$work/stdout" "$work/text"

run --teardown-report json --threads 1 one
expect_status 0
: | expect_stderr
python3 - "$work/stdout" >"$work/read" <<'END'
import json
import sys

with open(sys.argv[1], encoding="utf-8") as file:
    report = json.load(file)
deletions = report["deletions"]
assert not any(deletion["isRunning"] or deletion["isOverdue"] or deletion["lateUses"] for deletion in deletions)
print(f"{len(deletions)} deletions, 0 over the limit of {report['limitNanoseconds'] // 10**6}.000 ms, 0 late uses")
for deletion in deletions:
    print(f"{deletion['type']}, id {deletion['id']}, of {deletion['scope']} {deletion['context']}: "
          f"{deletion['durationNanoseconds'] / 10**6:.3f} ms, deleter in {deletion['module']}")
END
mv "$work/read" "$work/stdout"
normalised
expect_stdout <"$work/text"
