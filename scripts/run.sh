#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Kalvora developers
# SPDX-License-Identifier: GPL-3.0-or-later
# Installs what is missing, builds in Release and opens Kalvora's window: on the given photos or
# folders, or, with none, on a demo event of four cameras made afresh in the user's data folder.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"

kalvora_install_packages >&2
folder="$KALVORA_ROOT/build/release"
kalvora_build "$folder" Release -DBUILD_TESTING=OFF >&2
programs="$folder/Kalvora.app/Contents/MacOS"
if [ $# -eq 0 ]; then
    event="${XDG_DATA_HOME:-$HOME/.local/share}/Kalvora/Demo/event-$(date +%Y%m%d-%H%M%S)"
    "$programs/kalvora-demo-event" "$event" >&2
    set -- "$event"
fi
if [ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
    echo "Kalvora needs a desktop session to show its window (no DISPLAY or WAYLAND_DISPLAY)." >&2
    echo "On a machine without a screen: xvfb-run -a scripts/run.sh $*" >&2
    exit 1
fi
exec "$programs/kalvora" "$@"
