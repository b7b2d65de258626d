#!/usr/bin/env bash
# Makes the Debian packages, compares them with what is kept of them, and installs and tries them on a
# clean system: debian_test.sh BUILD LIBDIR VERSION COMPONENT...
# LIBDIR is the folder of libraries below /usr.
set -euo pipefail
build=$1 libdir=$2 version=$3
shift 3
folder=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd -P)
source "$folder/../../scripts/install_packages.sh"
source "$folder/installed.sh"
source "$folder/xvfb.sh"

work=$(mktemp -d)
trap 'stop_xvfb; rm -rf -- "$work"' EXIT

declare -A names=([runtime]=libqor-conf-capturemanager0 [development]=libqor-conf-capturemanager-dev
    [tools]=capmgr [gstreamer]=gstreamer1.0-qorcapture)

# A component's files, those with which each package comes, and manual pages as packages have them.
expected_files() {
    local component=$1
    sed 's|^|usr/|; s|^usr/share/man/.*|&.gz|' "$folder/installed/$component.txt"
    printf "usr/share/doc/${names[$component]}/%s\n" changelog.Debian.gz changelog.gz copyright
}

# The versions of other packages are those of the system it was built on.
control_fields() {
    dpkg-deb --field "$1" Package Version Section Priority Depends | LC_ALL=C sort |
        sed "s/$version-1/VERSION/g; /^Depends:/s/ (>= [^)]*)//g"
}

expect_no_search_path() {
    local file
    while IFS= read -r -d '' file; do
        if readelf --dynamic "$file" 2>/dev/null | grep -E 'R(UN)?PATH'; then
            printf '%s has a search path of its own\n' "$file" >&2
            return 1
        fi
        if readelf --sections --wide "$file" 2>/dev/null | grep -F .debug_; then
            printf '%s has debug information in it\n' "$file" >&2
            return 1
        fi
    done < <(find "$1" -type f \( -path '*/bin/*' -o -name '*.so*' \) -print0)
}

check() {
    local component=$1 package=$2
    dpkg-deb --extract "$package" "$work/$component"
    installed_files "$work/$component" "$libdir" |
        expect_list <(expected_files "$component") "the files of ${names[$component]}"
    control_fields "$package" |
        expect_list "$folder/debian/${names[$component]}.txt" "the control file of ${names[$component]}"
    expect_no_search_path "$work/$component"
    if grep -rl -e "$build" -e "$(cd -- "$folder/../.." && pwd -P)" "$work/$component"; then
        printf 'these files tell where they were built\n' >&2
        return 1
    fi
}

cpack --config "$build/CPackConfig.cmake" -B "$work/packages" >"$work/cpack.log" 2>&1 || {
    cat "$work/cpack.log" >&2
    exit 1
}
packages=()
for component in "$@"; do
    package=$(echo "$work/packages/${names[$component]}"_*.deb)
    check "$component" "$package"
    packages+=("$package")
done

# What is mounted, and whatever runs, is gone with these namespaces.
start_xvfb "$work"
as_root env "DISPLAY=$DISPLAY" ${http_proxy:+"http_proxy=$http_proxy"} \
    ${https_proxy:+"https_proxy=$https_proxy"} unshare --mount --pid --fork --kill-child \
    "$folder/clean_root.sh" "$build" "$(id -u):$(id -g)" "${packages[@]}"
printf 'ok: packages made, installed on a clean system and tried there\n'
