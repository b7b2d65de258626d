#!/usr/bin/env bash
# Has a host close the library in the middle of a capture: unloading_test.sh COMPILER INCLUDE_DIR LIBRARY
set -euo pipefail
compiler=$1 include=$2 library=$3
folder=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd -P)
source "$folder/xvfb.sh"

work=$(mktemp -d)
trap 'stop_xvfb; rm -rf -- "$work"' EXIT
"$compiler" -std=gnu11 -Wall -Wextra -Werror "-I$include" "$folder/unloading/host.c" -o "$work/host"
start_xvfb "$work"
"$work/host" "$library"
printf 'ok: the library stays until its threads have ended\n'
