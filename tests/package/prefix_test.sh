#!/usr/bin/env bash
# Installs into an empty prefix, moves that elsewhere, and builds and runs the examples there as a
# host's developer would, by CMake and by pkg-config: prefix_test.sh BUILD LIBDIR VERSION COMPONENT...
# LIBDIR is the folder of libraries in the prefix.
set -euo pipefail
build=$1 libdir=$2 version=$3
shift 3
folder=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd -P)
source "$folder/installed.sh"
source "$folder/xvfb.sh"

work=$(mktemp -d)
trap 'stop_xvfb; rm -rf -- "$work"' EXIT

for component in "$@"; do
    cmake --install "$build" --prefix "$work/$component" --component "$component" >/dev/null
    installed_files "$work/$component" "$libdir" |
        expect_list "$folder/installed/$component.txt" "component $component"
done

cmake --install "$build" --prefix "$work/first" >/dev/null
installed_files "$work/first" "$libdir" |
    expect_list <(for component in "$@"; do cat "$folder/installed/$component.txt"; done) 'all components'
mkdir "$work/elsewhere"
mv "$work/first" "$work/elsewhere/second"
prefix=$work/elsewhere/second
if grep -rIl -e "$work/first" -e "$build" "$prefix"; then
    printf 'these files tell where they were built or installed\n' >&2
    exit 1
fi

examples=$prefix/share/doc/qor_conf_capturemanager/examples
warnings='-Wall -Wextra -Werror'
cmake -S "$examples" -B "$work/by_cmake" "-DCMAKE_PREFIX_PATH=$prefix" -DCMAKE_BUILD_TYPE=Release \
    "-DCMAKE_C_FLAGS=$warnings" "-DCMAKE_CXX_FLAGS=$warnings" >/dev/null
cmake --build "$work/by_cmake" >/dev/null

cp -r "$examples" "$work/by_pkg_config"
export PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig
make -s -C "$work/by_pkg_config" "CFLAGS=-O2 $warnings" "CXXFLAGS=-O2 $warnings"

# The headers of the classes, and of the libraries below, with no more than pkg-config says.
headers=(CaptureManager CaptureBase CaptureMac CaptureScaling Monitor MonitorManager ScreenInfo vqutilc
    kxcommon64)
for header in "${headers[@]}"; do
    read -ra flags < <(pkg-config --cflags qor_conf_capturemanager)
    # shellcheck disable=SC2086
    c++ -std=c++17 $warnings -Wpedantic "${flags[@]}" -fsyntax-only -x c++ - <<<"#include <$header.h>"
done
for library in qor_conf_capturemanager qor_conf_vqutilc qor_conf_kxcommon64 qor_coregraphics; do
    found=$(pkg-config --modversion "$library")
    if [[ $found != "$version" ]]; then
        printf 'pkg-config says %s %s instead of %s\n' "$library" "$found" "$version" >&2
        exit 1
    fi
done

# All at once, as each takes the time of ten frames.
start_xvfb "$work"
declare -A running=()
for host in {by_cmake,by_pkg_config}/example_host_{c,cpp}; do
    "$work/$host" >"$work/$host.output" &
    running[$host]=$!
done
for host in "${!running[@]}"; do
    wait "${running[$host]}" || {
        printf '%s failed\n' "$host" >&2
        exit 1
    }
    if (($(grep -c '^frame [0-9]*: [0-9]* x [0-9]* pixels' "$work/$host.output") != 10)); then
        printf '%s did not read ten frames:\n' "$host" >&2
        cat "$work/$host.output" >&2
        exit 1
    fi
done
"$prefix/bin/capmgr" monitors >/dev/null
printf 'ok: installed, moved, built against and run\n'
