#!/usr/bin/env bash
# Configures a project that has this one in a folder of its own, and compiles a host there:
# subproject_test.sh SOURCE C_COMPILER CXX_COMPILER
# Without linking, for which all the libraries would have to be built once more.
set -euo pipefail
source=$1 c=$2 cxx=$3
folder=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd -P)

work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
cmake -S "$folder/subproject" -B "$work" -G Ninja "-DCAPTURE_MANAGER=$source" "-DCMAKE_C_COMPILER=$c" \
    "-DCMAKE_CXX_COMPILER=$cxx" >"$work/log" || {
    cat "$work/log" >&2
    exit 1
}
cmake --build "$work" --target host_c host_cpp >"$work/log" || {
    cat "$work/log" >&2
    exit 1
}
# Nothing but the libraries is there to be built.
if ninja -C "$work" -t targets all | grep -E '^(bin/)?(capmgr|livescene|example_host|.*_test)\b'; then
    printf 'these come along though nobody asked for them\n' >&2
    exit 1
fi
printf 'ok: a host in C and one in C++ compile in a project around this one\n'
