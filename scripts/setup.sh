#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Kalvora developers
# SPDX-License-Identifier: GPL-3.0-or-later
# Installs the Debian packages Kalvora needs, when any is missing, and configures a build folder.
# Sourced by run.sh and test.sh.
set -euo pipefail

KALVORA_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# A bare machine has no fonts for Qt to draw with, no opener for the manual and none of Qt's own
# translations; the Wayland plugin lets the window open natively on a Wayland desktop; openbox
# frames the windows that the screenshot tests take pictures of under Xvfb.
KALVORA_PACKAGES=(build-essential cmake ninja-build pkg-config git
    qt6-base-dev qt6-tools-dev qt6-tools-dev-tools qt6-l10n-tools libqt6svg6-dev
    qt6-image-formats-plugins qt6-qpa-plugins qt6-wayland qt6-translations-l10n
    fonts-dejavu-core xdg-utils
    libexiv2-dev libraw-dev libimage-exiftool-perl shared-mime-info
    libgtest-dev googletest xvfb xauth openbox)

kalvora_install_packages() {
    local missing=()
    for package in "${KALVORA_PACKAGES[@]}"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' \
            || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    echo "Installing: ${missing[*]}"
    local sudo=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || {
            echo "Installing these needs root: run this as root, or install sudo first." >&2
            return 1
        }
        sudo=(sudo)
    fi
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
