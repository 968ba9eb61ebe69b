#!/usr/bin/env bash
# Each misuse shows the report that the error handler got, and leaves the program going.
# shellcheck source-path=SCRIPTDIR source=support.bash
source "$(dirname "${BASH_SOURCE[0]}")/support.bash"

line_of() { sed -n 's/^line: //p' "$work/stdout"; }
function_of() { sed -n 's/^function: //p' "$work/stdout"; }

# reports NAME MESSAGE FUNCTION: FUNCTION is the end of the function's name where a class of the library's own reports,
# and else all of it.
reports() {
    checked+=("$1")
    run --misuse "$1"
    expect_status 0
    [[ $(line_of) =~ ^[1-9][0-9]*$ ]] || fail "'$1' came from line '$(line_of)'"
    case $3 in
    ContextImpl*) [[ $(function_of) == *::"$3" ]] ;;
    *) [[ $(function_of) == "$3" ]] ;;
    esac || fail "'$1' came from '$(function_of)', not '$3'"
    expect_stdout <<END
message: $2
file: foundation/tav/management.cpp
line: $(line_of)
function: $(function_of)
END
    sed -i -E 's/^[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}\.[0-9]{6}Z 1 /TIME 1 /' "$work/stderr"
    expect_stderr <<END
TIME 1 [foundation::tav] 512 m_function=$(function_of)  m_file=foundation/tav/management.cpp  m_line=$(line_of)  m_message=$2 This indicates a bug in the code calling TAV.
END
}

checked=()
reports activate-shutdown-process \
    'Attempting to activate a shutdown process context' \
    'foundation::tav::management::Context<struct foundation::tav::scope::Process>::activate'
reports activate-second-process \
    'Another process context is currently active' \
    'foundation::tav::management::Context<struct foundation::tav::scope::Process>::activate'
reports create-child-of-shutdown \
    'Attempting to create a child of a shutdown context.' \
    'ContextImpl<struct foundation::tav::scope::Process>::createChild'
reports create-second-workspace \
    "Attempting to create more than the '1' child contexts allowed for foundation::tav::scope::Zarn-type contexts." \
    'ContextImpl<struct foundation::tav::scope::Zarn>::createChild'
reports destroy-with-children \
    'Cannot destroy context unless existing 1 child contexts are destroyed first.' \
    'ContextImpl<struct foundation::tav::scope::Process>::releaseParentNoLock'
reports activate-on-two-threads \
    "Non-concurrent context activated by more than one thread. Only contexts with 'Process' scope can be activated by multiple threads." \
    'ContextImpl<struct foundation::tav::scope::Zarn>::incRef'
reports ask-deactivated-activator \
    'Error accessing deactivated ContextActivator' \
    'foundation::tav::management::thisthread::ContextActivator::getActiveContexts'
reports insert-twice \
    "State of type 'text_host::Dictionary' already inserted. Consider using 'findOrInsert' to safely retrieve the existing state or insert one if absent." \
    'ContextImpl<struct foundation::tav::scope::Process>::insert'
reports insert-after-shutdown \
    "Attempting to insert state of type 'text_host::Dictionary' after active context was shutdown." \
    'ContextImpl<struct foundation::tav::scope::Process>::insert'
reports find-absent-state \
    "Type 'text_host::Dictionary' does not exist in TAV. The caller requested pre-existing state of the specified type, but it was never created." \
    'foundation::tav::Detail<struct foundation::tav::scope::Process>::findOrFail'
reports find-without-context \
    "Cannot call find(): No active TAV context with scope 'foundation::tav::scope::Workspace' (specified for state type 'text_host::WordCounts'). The context might be inaccessible to this thread, or might have been deactivated or destroyed. 'Zarn' or 'Workspace' scoped states require an active 'Zarn' context; 'Process' scoped states require an active 'Process' context." \
    'foundation::tav::Detail<struct foundation::tav::scope::Workspace>::find'

# The list has these eleven and no other.
[ ${#checked[@]} -eq 11 ] || fail "${#checked[@]} kinds of misuse were tried, not 11"
run --misuse list
expect_status 0
printf '%s\n' "${checked[@]}" | expect_stdout
: | expect_stderr

# An unknown name is answered with the list.
run --misuse nothing
expect_status 2
: | expect_stdout
{ echo "text_host: there is no misuse 'nothing'; there are"; printf '%s\n' "${checked[@]}"; } | expect_stderr
