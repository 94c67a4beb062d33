# shellcheck shell=bash disable=SC2034 # the lists are used by who sources this
# Debian packages that the project needs, and how to get them. Sourced by play and check.

# To build and to run the player and reel.
packages_to_play=(
    g++ cmake ninja-build pkg-config
    libxcb1-dev libxcb-shm0-dev libxcb-xkb-dev libxcb-icccm4-dev
    libxkbcommon-dev libxkbcommon-x11-dev
    libfreetype-dev libfontconfig-dev fonts-urw-base35
    libopenimageio-dev libcli11-dev
    libavformat-dev libavcodec-dev libavutil-dev libswscale-dev
)

# To play where there is no display.
packages_for_virtual_display=(xvfb xauth xdotool imagemagick)

# To measure.
packages_to_bench=(
    "${packages_to_play[@]}" "${packages_for_virtual_display[@]}" libbenchmark-dev
    libxcb-xtest0-dev mpv ffmpeg
)

# To check.
packages_to_check=(
    "${packages_to_play[@]}" "${packages_for_virtual_display[@]}"
    clang libclang-rt-14-dev lld clang-format clang-tidy ccache
    libgtest-dev libxcb-xtest0-dev openbox x11-xkb-utils x11-utils
    parallel ffmpeg povray mandoc fonts-dejavu-core
)

# install_packages PACKAGE...: installs those that are missing; says so; asks nothing.
install_packages() {
    local missing=() package
    for package in "$@"; do
        dpkg-query -W -f '${db:Status-Abbrev}' "$package" 2>/dev/null | grep -q '^ii' ||
            missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    command -v apt-get >/dev/null || {
        echo "missing: ${missing[*]}; this script installs them on Debian only" >&2
        return 1
    }
    local become_root=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || {
            echo "missing: ${missing[*]}; install them as root, or install sudo" >&2
            return 1
        }
        become_root=(sudo)
    fi
    echo "installing ${missing[*]}"
    "${become_root[@]}" apt-get update -qq
    "${become_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}
