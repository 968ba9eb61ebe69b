#!/usr/bin/env bash
# A plugin adds its analysis, changes nothing else, and is gone without a trace; what is no plugin is refused.
# shellcheck source-path=SCRIPTDIR source=support.bash
source "$(dirname "${BASH_SOURCE[0]}")/support.bash"
plugin=$2
other_library=$3

mkdir -p a/deep b none
printf 'one sixteen of\n' >a/1
printf 'seventy is less\n' >a/deep/2
printf 'three words here\n' >b/3
printf '1 2 3\n' >none/4

# after_report: what the plugin adds to the output.
after_report() {
    cat <<'END'

plugin: longest word
  a                    seventy
  b                    three
  none                 
states of the plugin before it is unloaded
  text_host::DocumentAnalysis
  longest_word::OfProject
  longest_word::OfProject
  longest_word::OfProject
states of the plugin after it was unloaded
  none
END
}

# The tables are the same with the plugin and without; of words that are equally long it has the first.
run a b none
expect_status 0
cp "$work/stdout" "$work/tables"
for threads in 1 3; do
    run --plugin "$plugin" --threads "$threads" a b none
    expect_status 0
    { cat "$work/tables"; after_report; } | expect_stdout
    : | expect_stderr
done

# So is the order in which the host's own states die.
run --threads 1 --teardown a b none
sed -n '/^teardown/,$p' "$work/stdout" >"$work/teardown"
run --plugin "$plugin" --threads 1 --teardown a b none
expect_status 0
{ cat "$work/tables"; after_report; echo; cat "$work/teardown"; } | expect_stdout

# No project is open: the plugin has nothing but its analysis.
run --plugin "$plugin" missing
expect_status 1
sed -n '/^plugin/,$p' "$work/stdout" | diff -u - <(cat <<'END'
plugin: longest word
states of the plugin before it is unloaded
  text_host::DocumentAnalysis
states of the plugin after it was unloaded
  none
END
) || fail 'the plugin has something of no project'

# refused FILE MESSAGE: before anything is analysed.
refused() {
    run --plugin "$1" a
    expect_status 2
    : | expect_stdout
    expect_stderr <<<"text_host: $2"
}

# A file in the current folder is meant, not one of the system's libraries.
refused missing.so 'cannot load the plugin: ./missing.so: cannot open shared object file: No such file or directory'
refused libc.so.6 'cannot load the plugin: ./libc.so.6: cannot open shared object file: No such file or directory'
refused ./none/missing.so \
    'cannot load the plugin: ./none/missing.so: cannot open shared object file: No such file or directory'
head -c 10000 /dev/zero | tr '\0' x >text.so
refused text.so 'cannot load the plugin: ./text.so: invalid ELF header'
refused "$other_library" "'$other_library' is no plugin of this host: it has no function 'text_host_plugin'"
