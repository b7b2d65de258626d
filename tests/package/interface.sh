#!/usr/bin/env bash
# The binary interface of a library: the symbols, and the types that its installed headers declare.
#
#   interface.sh check LIBRARY KEPT     fails when it is not as KEPT describes it
#   interface.sh write LIBRARY KEPT     describes it anew: a change that breaks hosts, made on purpose
set -euo pipefail
(($# == 3)) || {
    printf 'usage: interface.sh check|write LIBRARY KEPT\n' >&2
    exit 2
}
verb=$1 library=$2 kept=$3
folder=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd -P)
root=$(cd -- "$folder/../.." && pwd -P)

describe() {
    readelf --sections --wide "$library" | grep -q '\.debug_info' || {
        printf '%s has no debug information to tell its types by\n' "$library" >&2
        exit 1
    }
    abidw --exported-interfaces-only --suppressions "$folder/interfaces/left_out.abignore" \
        --headers-dir "$root/include" --headers-dir "$root/support" \
        --headers-dir "$root/platform/linux/include" --drop-private-types --drop-undefined-syms \
        --type-id-style hash --no-corpus-path --no-comp-dir-path --no-show-locs "$library" |
        sed "s|path='$root/|path='|" >"$1"  # wherever it was built
}

case $verb in
    write) describe "$kept" ;;
    check)
        work=$(mktemp -d)
        trap 'rm -rf "$work"' EXIT
        describe "$work/now.abi"
        if ! abidiff "$kept" "$work/now.abi" >"$work/report"; then
            cat "$work/report" >&2
            printf '%s: the binary interface is not as %s has it\n' \
                "$(basename "$library")" "$(basename "$kept")" >&2
            exit 1
        fi
        ;;
    *)
        printf 'interface.sh: check or write, not %s\n' "$verb" >&2
        exit 2
        ;;
esac
