#!/usr/bin/env bash
# Compiles and links a host the way its developer would, with no help from this project's build, and
# runs it: consumer_test.sh INCLUDE_DIR LIB_DIR SANITIZER_FLAGS COMPILER STANDARD SOURCE
set -euo pipefail
include=$1 lib=$2 sanitize=$3 compiler=$4 standard=$5 source=$6

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# shellcheck disable=SC2086  # the sanitizer flag may be empty
"$compiler" "-std=$standard" -Wall -Wextra -Wpedantic -Werror $sanitize "-I$include" "$source" \
    -o "$work/consumer" "-L$lib" -lqor_conf_capturemanager "-Wl,-rpath,$lib"
env -u DISPLAY "$work/consumer" 2>"$work/errors" || {
    status=$?
    cat "$work/errors" >&2
    exit "$status"
}
echo "ok: $source as $standard with $compiler"
