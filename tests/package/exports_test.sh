#!/usr/bin/env bash
# Compares the symbols that a library exports with the kept list: exports_test.sh LIBRARY LIST
# What a sanitizer puts into every library is left aside.
set -euo pipefail
library=$1 list=$2

actual=$(nm -D --defined-only --format=just-symbols "$library" |
    grep -vE '^(__odr_asan|__asan|__ubsan|__tsan)' | LC_ALL=C sort)
if ! difference=$(diff <(LC_ALL=C sort "$list") - <<<"$actual"); then
    printf '%s exports other symbols than %s lists (< missing, > unlisted):\n%s\n' \
        "$(basename "$library")" "$(basename "$list")" "$difference" >&2
    exit 1
fi
echo "ok: $(wc -l <"$list") symbols"
