#!/usr/bin/env bash
# Installs packages on a clean system, in a folder, and tries what they bring. To be run as root, in
# namespaces of its own for mounts and processes: clean_root.sh BUILD USER:GROUP PACKAGE...
#
# DISPLAY is the display to try them on; the user is the one whom its server lets in.
# BUILD/debootstrap-CODENAME.tar keeps the system and the packages it downloaded for the next time.
set -euo pipefail
build=$1 user=$2
shift 2
export LC_ALL=C DEBIAN_FRONTEND=noninteractive
unset TMPDIR  # it may not be there, on that system

codename=$(. /etc/os-release && printf '%s' "${VERSION_CODENAME-}")
kept=$build/debootstrap-$codename.tar
# Not in /tmp, where devices may have no meaning.
work=$(mktemp -d "$build/clean_root.XXXXXX")
root=$work/root
: >"$work/log"

clean_up() {
    local status=$?
    ((status == 0)) || tail -n 50 "$work/log" >&2
    umount --recursive --quiet "$root/proc" "$root/sys" || true
    rm -rf --one-file-system -- "$work"
    exit "$status"
}
trap clean_up EXIT

fail() {
    printf 'clean_root.sh: %s\n' "$1" >>"$work/log"
    exit 1
}

# Runs a command on the clean system as the given user.
in_root() {
    local as=$1
    shift
    chroot --userspec="$as" "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C HOME=/tmp \
        DISPLAY="$DISPLAY" DEBIAN_FRONTEND=noninteractive \
        ${http_proxy:+"http_proxy=$http_proxy"} ${https_proxy:+"https_proxy=$https_proxy"} "$@"
}

apt() {
    in_root 0:0 apt-get -q -y --no-install-recommends "$@" >>"$work/log" 2>&1
}

# As the user whom the display server lets in. Its socket is reached by its abstract name.
try() {
    in_root "$user" "$@" 2>>"$work/log" || fail "failed on the clean system: $*"
}

# Where this machine's own packages of the same system come from.
mirror() {
    # shellcheck disable=SC2016  # apt's own fields
    apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Origin: Debian' \
        "Codename: $codename" 'Component: main' | sed -n 1p
}

# A system as it is after nothing but its installation, which may ask the servers that this one asks, in the
# same ways.
make_system() {
    local from
    from=$(mirror)
    if [[ -z $from ]]; then
        apt-get -q update >>"$work/log" 2>&1 || true
        from=$(mirror)
    fi
    [[ -n $from ]] || fail "apt does not know where packages of Debian '$codename' come from"
    debootstrap --variant=minbase "$codename" "$root" "$from" >>"$work/log" 2>&1 || fail 'debootstrap failed'
    apt-config dump | grep -E '^Acquire::(https?|Check-)' >"$root/etc/apt/apt.conf.d/90as-outside" || true
    mkdir -p "$root/etc/ssl/certs"
    cp -L /etc/ssl/certs/ca-certificates.crt "$root/etc/ssl/certs/" 2>/dev/null || true
    # This system is not for long, so nothing waits for the disk.
    echo force-unsafe-io >"$root/etc/dpkg/dpkg.cfg.d/unsafe-io"
    apt update || fail 'apt-get update failed on the clean system'
}

archives() {
    find "$root/var/cache/apt/archives" -name '*.deb' | sort
}

# At once or not at all: an interrupted run leaves no half of it.
keep_system() {
    tar -C "$root" --numeric-owner --exclude=./packages --exclude='./proc/*' --exclude='./sys/*' \
        -cf "$work/kept.tar" .
    chown "$user" "$work/kept.tar"
    mv "$work/kept.tar" "$kept"
}

# Downloads what the packages need, by a list that is made anew where it is out of date.
download() {
    local had
    had=$(archives)
    apt install --download-only "$@" || { apt update && apt install --download-only "$@"; } ||
        fail 'the packages, or what they need, cannot be had'
    [[ -f $kept && $(archives) == "$had" ]] || keep_system
}

if [[ -f $kept ]]; then
    mkdir "$root"
    tar -C "$root" --numeric-owner -xf "$kept"
else
    make_system
fi
cp -L /etc/resolv.conf /etc/hosts "$root/etc/"

mkdir "$root/packages"
cp -- "$@" "$root/packages/"
wanted=()
for package in "$@"; do
    wanted+=("/packages/${package##*/}")
    [[ $package != */gstreamer1.0-* ]] || wanted+=(gstreamer1.0-tools)
done
download "${wanted[@]}"
apt install "${wanted[@]}" || fail 'the packages cannot be installed'

if [[ -x $root/usr/bin/capmgr ]]; then
    try capmgr monitors | grep -q 640 || fail 'capmgr does not list the monitor'
    try capmgr shot /tmp/shot.png >/dev/null
    # The width and height in a PNG file's first chunk.
    size=$(od -An -tu1 -j16 -N8 "$root/tmp/shot.png")
    [[ $(tr -s ' ' <<<"$size") == ' 0 0 2 128 0 0 1 224' ]] || fail "not a picture of 640 x 480 pixels: $size"
fi
if compgen -G "$root/usr/lib/*/gstreamer-1.0/libgstqorcapture.so" >/dev/null; then
    try gst-inspect-1.0 qorcapturesrc >/dev/null
fi

# The names are what comes before "_" in the files' own.
removed=("${wanted[@]##*/}")
apt purge "${removed[@]%%_*}" || fail 'the packages cannot be removed'
left=$(find "$root/usr" "$root/etc" -name '*qor[_-]conf*' -o -name '*capmgr*' -o -name '*qorcapture*')
[[ -z $left ]] || fail "the packages leave behind: $left"
