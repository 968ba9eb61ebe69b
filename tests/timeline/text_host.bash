#!/usr/bin/env bash
# The trace of the example host on a repository's folders, with four threads: what the page counts is in the trace.
# shellcheck source-path=SCRIPTDIR source=../text_host/support.bash
source "$(dirname "${BASH_SOURCE[0]}")/../text_host/support.bash"
text_host=$2
repository=$3

folders=("$repository/foundation" "$repository/examples" "$repository/docs" "$repository/tests/timeline")
"$text_host" --threads 4 --trace-file trace "${folders[@]}" >/dev/null 2>"$work/stderr" || true
run --html page.html --chrome events.json trace
expect_status 0
: | expect_stderr

# shown KEY: the count on the page.
shown() { sed -n "s/.*data-count=\"$1\"[^>]*><dd>\([0-9]*\)<.*/\1/p" page.html; }

# counted KEY PATTERN: the page counts as many as there are such records.
counted() {
    local records
    records=$(grep -cE "$2" trace) || true
    [ "$(shown "$1")" = "$records" ] || fail "the page counts $(shown "$1") $1, and the trace has $records"
}

context='(\{anonymous\}|\(anonymous namespace\))::ContextImpl<.*>::'
scope='\[.*Scope = foundation::tav::scope'
counted records ''
counted operations '^[^ ]+ [0-9]+ \[foundation::tav\] 32 '
counted exits '^[^ ]+ [0-9]+ \[foundation::tav\] 64 '
counted activations '\] 16 +push context '
counted deactivations '\] 16 +pop context '
counted typeIds '\] 16 +getNextID '
counted errors '\] 512 +m_function='
counted lateUses '\] 16 +late (find|insert) '
counted slowDeletions '\] 16 +slow deletion '
counted thrown '\] 64 .* \[throw\]$'
counted processContexts "\] 32 +${context}ContextImpl\(.*$scope::Process\]"
counted zarnContexts "\] 32 +${context}ContextImpl\(.*$scope::Zarn[];,]"
counted workspaceContexts "\] 32 +${context}ContextImpl\(.*$scope::Workspace[];,]"
counted contextsDestroyed '\] 64 .*::releaseParentNoLock\(\)'
counted statesInserted "\] 64 .*::insert\("
counted statesDeleted '\] 32 .*InstanceManager::erase\('
[ "$(shown threads)" = "$(cut -d ' ' -f 2 trace | sort -u | wc -l)" ] || fail "the page counts $(shown threads) threads"
[ "$(shown zarnContexts)" = ${#folders[@]} ] || fail 'not every folder is a project'
for key in unfinished contextsUnseen contextsAlive statesUnseen statesAlive unreadableLines; do
    [ "$(shown $key)" = 0 ] || fail "the page counts $(shown $key) $key"
done

# The events count the same, and each beginning has its end.
entries=$(grep -c '"ph":"B","pid":1' events.json)
[ "$entries" = "$(shown operations)" ] || fail "there are $entries operations among the events"
[ "$entries" = "$(grep -c '"ph":"E","pid":1' events.json)" ] || fail 'operations begin that do not end'
[ "$(grep -c '"ph":"b"' events.json)" = "$(grep -c '"ph":"e"' events.json)" ] || fail 'lives begin that do not end'
