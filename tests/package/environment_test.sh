#!/usr/bin/env bash
# Writes down which variables of the environment the libraries ask for while a screen is captured, and
# compares them with those that the documentation lists: environment_test.sh COMPILER CAPMGR DOCUMENTATION
set -euo pipefail
compiler=$1 capmgr=$2 documentation=$3
folder=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd -P)
source "$folder/xvfb.sh"

work=$(mktemp -d)
trap 'stop_xvfb; rm -rf -- "$work"' EXIT
"$compiler" -shared -fPIC -O1 -fno-optimize-sibling-calls "$folder/environment/getenv.c" -o "$work/getenv.so"

start_xvfb "$work"
# Scaled, so that the scalers are asked for too. The first language that is set ends the search for one.
env -u LC_ALL -u LC_MESSAGES -u LANG LD_PRELOAD="$work/getenv.so" \
    "$capmgr" shot --size 320x240 "$work/shot.png" >"$work/output" 2>&1 9>"$work/asked" || {
    cat "$work/output" >&2
    exit 1
}

asked() { sed -n 's/^\(libqor_[a-z0-9_]*\)\.so[^ ]* /\1 /p' "$work/asked" | LC_ALL=C sort -u; }

# The table of variables: | `NAME`, `NAME` | `library` | ...
documented() {
    awk -F '|' '$3 ~ /`libqor_/ { gsub(/[` ]/, "", $2); gsub(/[` ]/, "", $3)
                                  count = split($2, names, ",")
                                  for (i = 1; i <= count; ++i) print $3, names[i] }' "$documentation" |
        LC_ALL=C sort -u
}

if ! difference=$(diff <(documented) <(asked)); then
    printf 'variables that %s lists (<) and that the libraries ask for (>):\n%s\n' \
        "$(basename "$documentation")" "$difference" >&2
    exit 1
fi
printf 'ok: %d variables, each documented\n' "$(asked | wc -l)"
