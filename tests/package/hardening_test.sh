#!/usr/bin/env bash
# Reads off a library or program how it is protected, and fails for each property that it lacks:
# hardening_test.sh FILE PROPERTY...
#
# What is asked for is read to its end: a writer that loses its reader fails, too.
# shellcheck disable=SC2317  # the properties are called by the names given
set -euo pipefail
file=$1
shift

holds() { grep -E "$@" >/dev/null; }

segments() { readelf --segments --wide "$file"; }
dynamic_section() { readelf --dynamic --wide "$file"; }
imports() { nm --dynamic --undefined-only --format=just-symbols "$file" | sed 's/@.*//'; }
code() { objdump --disassemble --no-show-raw-insn "$file"; }

# No segment that can be written to can be run.
stack_without_code() { [[ $(segments | awk '$1 == "GNU_STACK" { print $(NF - 1) }') == RW ]]; }
data_without_code() { ! segments | awk '$1 == "LOAD"' | holds ' RWE '; }

# The tables of addresses are written when the file is loaded, and never again.
read_only_relocations() { segments | holds '^ *GNU_RELRO '; }
bound_when_loaded() { dynamic_section | holds '\(BIND_NOW\)|\(FLAGS\).* BIND_NOW|\(FLAGS_1\).* NOW'; }
position_independent() { dynamic_section | holds '\(FLAGS_1\).* PIE'; }
never_unloaded() { dynamic_section | holds '\(FLAGS_1\).* NODELETE'; }

stack_protector() { imports | holds '^__stack_chk_fail$'; }
fortified_functions() { imports | holds '^__[a-z]+_chk$'; }

shadow_stack() { readelf --notes --wide "$file" | holds 'x86 feature:.*SHSTK'; }
# What can be called by its address begins with a mark that the processor looks for.
landing_marks() {
    local names unmarked
    names=$(nm --dynamic --defined-only "$file" | awk '$2 == "T" || $2 == "W" { sub(/@.*/, "", $3); print $3 }')
    [[ -n $names ]] || names=main
    unmarked=$(awk 'NR == FNR { wanted[$1]; next }
        /^[0-9a-f]+ <.*>:$/ { name = substr($2, 2, length($2) - 3); getline
                              if (name in wanted) { ++seen; if ($2 != "endbr64") print name } }
        END { if (!seen) print "no function" }' <(printf '%s\n' "$names") <(code))
    [[ -z $unmarked ]] || printf '%s\n' "$unmarked" >&2
    [[ -z $unmarked ]]
}
# Every unit of a library that says how it was compiled.
protected_units() {
    local units count flag
    units=$(readelf --debug-dump=info "$file" 2>/dev/null | grep -E 'DW_AT_producer .*GNU C')
    count=$(wc -l <<<"$units")
    for flag in -fstack-protector-strong -fstack-clash-protection; do
        (($(grep -c -e "$flag" <<<"$units") == count)) || return 1
    done
}

status=0
for property in "$@"; do
    "$property" || {
        printf '%s: lacks %s\n' "$(basename "$file")" "${property//_/ }" >&2
        status=1
    }
done
((status)) || printf 'ok: %s has %d properties\n' "$(basename "$file")" $#
exit "$status"
