#!/usr/bin/env bash
# Puts a host's own libraries in front of ours, in the ways that the loader has: preloaded, under any
# name, and found first, under the name that ours are asked for by:
# replacement_test.sh COMPILER LIB_DIR HOST
# HOST is a program that traces an error where there is no display.
set -euo pipefail
compiler=$1 lib=$2 host=$3
folder=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd -P)

work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT

# With a file name and a SONAME without version.
name=libqor_conf_vqutilc.so
"$compiler" -shared -fPIC "-Wl,-soname,$name" "$folder/replacement/trace.c" -o "$work/$name"
said=$(env -u DISPLAY LD_PRELOAD="$work/$name" "$host" 2>&1 >"$work/output") || true
if ! grep -q '^replaced: ' <<<"$said"; then
    printf 'the preloaded %s has not taken effect:\n%s\n' "$name" "$said" >&2
    exit 1
fi

for library in qor_conf_vqutilc qor_conf_kxcommon64 qor_coregraphics; do
    mkdir "$work/$library"
    soname=$(readelf --dynamic "$lib/lib$library.so" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
    cp -L "$lib/lib$library.so" "$work/$library/$soname"
    found=$(LD_LIBRARY_PATH=$work/$library ldd "$host" | sed -n "s/.*lib$library\.so.* => \(.*\) (.*/\1/p")
    if [[ $found != "$work/$library/$soname" ]]; then
        printf '%s in LD_LIBRARY_PATH is not the one that is loaded, but: %s\n' "$soname" "$found" >&2
        exit 1
    fi
done
printf 'ok: replaced by preloading and by LD_LIBRARY_PATH\n'
