#!/usr/bin/env bash
# States die newest first within their context, and children before parents.
# shellcheck source-path=SCRIPTDIR source=support.bash
source "$(dirname "${BASH_SOURCE[0]}")/support.bash"

mkdir -p a/deep b c
echo word >a/1
echo word >a/deep/2
echo word >b/3
printf '\0' >b/binary
echo word >c/4

# One thread makes the order the same each time. What was never opened has no states.
run --threads 1 --teardown a b c missing
expect_status 1
sed -n '/^teardown/,$p' "$work/stdout" >"$work/teardown"
run --threads 1 a b c missing
cat "$work/stdout" - "$work/teardown" <<<'' >"$work/expected"
run --threads 1 --teardown a b c missing
expect_stdout <"$work/expected"
diff -u - "$work/teardown" <<'END' || fail 'the states died in another order'
teardown, first to last
  Workspace  WordCounts a/1
  Workspace  Document a/1
  Workspace  WordCounts a/deep/2
  Workspace  Document a/deep/2
  Workspace  WordCounts b/3
  Workspace  Document b/3
  Workspace  WordCounts c/4
  Workspace  Document c/4
  Zarn  ProjectIndex c
  Zarn  Project c
  Zarn  ProjectIndex b
  Zarn  Project b
  Zarn  ProjectIndex a
  Zarn  Project a
  Process  RunSummary
  Process  Dictionary
  Process  Console
  Process  TeardownLog
END

# Several threads close documents in any order, but the same ones, each newest state first, and projects after them.
run --threads 3 --teardown a b c missing
sed -n '/^teardown/,$p' "$work/stdout" >"$work/threaded"
diff -u <(sort "$work/teardown") <(sort "$work/threaded") || fail 'other states died'
diff -u <(sed '/^  Workspace/d' "$work/teardown") <(sed '/^  Workspace/d' "$work/threaded") ||
    fail 'projects died in another order'
awk '$1 == "Workspace" && $2 == "WordCounts" { counted[$3] = 1 }
     $1 == "Workspace" && $2 == "Document" && !counted[$3] { exit 1 }
     $1 == "Zarn" { closed = 1 }
     $1 == "Workspace" && closed { exit 1 }' "$work/threaded" || fail "wrong order: $(cat "$work/threaded")"
