#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Kalvora developers
# SPDX-License-Identifier: GPL-3.0-or-later
# Starts the real program in a real X window (run under xvfb-run): once on three cameras, saving
# a picture of the window when they are shown, and once empty while a second launch hands it the
# photos. Each must show its window, take a picture and quit by itself with status 0.
# Usage: launch-check.sh <kalvora program> <samples folder> <output folder>
set -euo pipefail
program=$1 samples=$2 output=$3
mkdir -p "$output"
rm -f "$output"/launch-*.png
export KALVORA_INSTANCE_NAME="kalvora-launch-check-$$"
photos=("$samples/cameras/Canon_40D.jpg" "$samples/cameras/Nikon_D70.jpg" "$samples/cameras/Pentax_K10D.jpg")

fail() { echo "FAIL: $*" >&2; exit 1; }
for photo in "${photos[@]}"; do
    [ -f "$photo" ] || fail "test data missing: $photo"
done
# A PNG that is more than a blank window: the thumbnails alone take many kilobytes.
check_picture() {
    [ -f "$1" ] || fail "no picture at $1"
    [ "$(head -c 8 "$1" | od -An -tx1 | tr -d ' \n')" = 89504e470d0a1a0a ] || fail "$1 is no PNG"
    [ "$(stat -c %s "$1")" -gt 20000 ] || fail "$1 is too small to show photos"
}

echo "1. Three cameras from the command line"
timeout 90 "$program" --screenshot "$output/launch-three-cameras.png" "${photos[@]}" \
    || fail "the program did not show the cameras and quit cleanly (status $?)"
check_picture "$output/launch-three-cameras.png"

echo "2. A second launch hands its photos to the open window"
timeout 90 "$program" --screenshot "$output/launch-handed-over.png" &
first=$!
handed=false
for _ in $(seq 1 100); do
    # Until the first window listens, a second launch would open a window of its own; wait
    # for the socket before launching it.
    if [ -S "${TMPDIR:-/tmp}/$KALVORA_INSTANCE_NAME" ]; then
        timeout 20 "$program" "${photos[@]}" || fail "the second launch did not end after handing over"
        handed=true
        break
    fi
    sleep 0.2
done
$handed || { kill "$first" 2>/dev/null; fail "the first window never started listening"; }
wait "$first" || fail "the first window did not show the handed photos and quit cleanly (status $?)"
check_picture "$output/launch-handed-over.png"
echo "OK"
