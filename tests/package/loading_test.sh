#!/usr/bin/env bash
# Checks that a library can neither load code nor run programs, and that it asks for variables of the
# environment only if it may: loading_test.sh LIBRARY [getenv]
# What it then asks for, environment_test.sh checks.
set -euo pipefail
library=$1 allowed=${2-}

imports=$(nm --dynamic --undefined-only --format=just-symbols "$library" | sed 's/@.*//')
forbidden='dlm?open|dlsym|dlvsym|system|popen|exec[a-z]+|fexecve|posix_spawnp?|v?fork|clone|wordexp'
environment='(secure_|__secure_)?getenv|_*environ|setenv|unsetenv|putenv|clearenv'
if found=$(grep -xE "$forbidden" <<<"$imports"); then
    printf '%s loads or runs what others name:\n%s\n' "$(basename "$library")" "$found" >&2
    exit 1
fi
found=$(grep -xE "$environment" <<<"$imports" || true)
if [[ $found != "$allowed" ]]; then
    printf '%s gets at the environment by: %s; allowed: %s\n' "$(basename "$library")" "${found:-nothing}" \
        "${allowed:-nothing}" >&2
    exit 1
fi
printf 'ok: %s loads nothing\n' "$(basename "$library")"
