#!/usr/bin/env bash
# Installs the Debian packages Kalvora needs, when any is missing, and configures a build folder.
# Sourced by run.sh and test.sh.
set -euo pipefail

KALVORA_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
KALVORA_PACKAGES=(build-essential cmake ninja-build pkg-config
    qt6-base-dev qt6-tools-dev qt6-tools-dev-tools qt6-l10n-tools libqt6svg6-dev
    qt6-image-formats-plugins qt6-qpa-plugins
    libexiv2-dev libraw-dev libimage-exiftool-perl shared-mime-info
    libgtest-dev googletest xvfb xauth)

kalvora_install_packages() {
    local missing=()
    for package in "${KALVORA_PACKAGES[@]}"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' \
            || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    echo "Installing: ${missing[*]}"
    local sudo=()
    [ "$(id -u)" -eq 0 ] || sudo=(sudo)
    "${sudo[@]}" apt-get update -qq
    DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
}

# kalvora_build <folder> <build type> [extra cmake arguments...]
kalvora_build() {
    local folder=$1 type=$2
    shift 2
    if [ ! -f "$folder/CMakeCache.txt" ]; then
        cmake -S "$KALVORA_ROOT" -B "$folder" -G Ninja -DCMAKE_BUILD_TYPE="$type" "$@"
    fi
    cmake --build "$folder" --parallel "$(nproc)"
}
