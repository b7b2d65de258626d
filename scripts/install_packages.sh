# Debian packages that building, running and testing need; the one place with their names. Sourced.
#
#   install_packages GROUP...   installs what is missing of the groups build, tools, gstreamer,
#                               run, test, analyse, coverage, bench, macos and profile

# shellcheck disable=SC2034 # the lists are read through their names
packages_of_build=(
    g++ cmake ninja-build pkg-config
    libxcb1-dev libxcb-composite0-dev libxcb-damage0-dev libxcb-randr0-dev libxcb-render0-dev
    libxcb-shape0-dev libxcb-shm0-dev libxcb-xfixes0-dev
)

# shellcheck disable=SC2034
packages_of_tools=(
    libcli11-dev libfmt-dev libpng-dev libutf8proc-dev nlohmann-json3-dev
    libavcodec-dev libavformat-dev libavutil-dev libswscale-dev
    libfontconfig-dev libsdl2-dev libsdl2-ttf-dev libx11-dev
)

# shellcheck disable=SC2034
packages_of_gstreamer=(
    libgstreamer1.0-dev libgstreamer-plugins-base1.0-dev libgstreamer-plugins-bad1.0-dev
    nlohmann-json3-dev
)

# shellcheck disable=SC2034
packages_of_run=(xvfb fonts-dejavu-core)

# shellcheck disable=SC2034
packages_of_test=(
    libgtest-dev libgmock-dev libxcb-res0-dev
    g++-aarch64-linux-gnu qemu-user
    gstreamer1.0-tools gstreamer1.0-plugins-base gstreamer1.0-plugins-good gstreamer1.0-plugins-bad
    gstreamer1.0-nice libglib2.0-dev
    imagemagick x11-utils x11-xserver-utils xdotool
    openbox picom x11-apps xterm
    xserver-xephyr xserver-xorg-core xserver-xorg-video-dummy
    clang clang-format libclang-rt-dev abigail-tools git python3
    bsdutils fish mandoc zsh
    debootstrap doxygen dpkg-dev ffmpeg file make
)

# shellcheck disable=SC2034
packages_of_analyse=(clang clang-tidy cppcheck git)

# shellcheck disable=SC2034
packages_of_coverage=(gcovr)

# shellcheck disable=SC2034
packages_of_bench=(
    libbenchmark-dev libcli11-dev libfmt-dev nlohmann-json3-dev
    libavutil-dev libopencv-imgproc-dev libpixman-1-dev libswscale-dev libyuv-dev
    ffmpeg gstreamer1.0-tools gstreamer1.0-plugins-base gstreamer1.0-plugins-good
)

# The cross compiler is fetched with npm; a machine that has one from elsewhere keeps it.
# shellcheck disable=SC2034
packages_of_macos=(llvm googletest)
command -v npm >/dev/null || packages_of_macos+=(npm)

# shellcheck disable=SC2034
packages_of_profile=(linux-perf procps)

# Prints those of the named packages that are not installed, one a line.
missing_packages() {
    local package
    for package in "$@"; do
        if [[ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)" != installed ]]; then
            printf '%s\n' "$package"
        fi
    done
}

# Runs a command as root: directly where we are, through sudo where not.
as_root() {
    if ((EUID == 0)); then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        printf 'cannot install packages: neither root nor sudo; as root run: %s\n' "$*" >&2
        return 1
    fi
}

install_packages() {
    if ! command -v dpkg-query >/dev/null; then
        printf 'note: not a Debian system, so the packages needed are not checked\n' >&2
        return 0
    fi
    local group missing=()
    for group in "$@"; do
        local -n packages="packages_of_$group"
        mapfile -t -O "${#missing[@]}" missing < <(missing_packages "${packages[@]}")
        unset -n packages
    done
    if ((${#missing[@]} == 0)); then
        return 0
    fi
    printf 'installing: %s\n' "${missing[*]}" >&2
    # The environment is set by env because sudo does not pass it on. Output goes to stderr: what a
    # caller writes to standard output is its own.
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -q update >&2 &&
        as_root env DEBIAN_FRONTEND=noninteractive \
            apt-get -q install -y --no-install-recommends "${missing[@]}" >&2
}
