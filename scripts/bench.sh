#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Kalvora developers
# SPDX-License-Identifier: GPL-3.0-or-later
# Installs what is missing, builds the benchmarks in Release and prints every figure of the
# import, sync, timeline and suggestion benchmarks in one table, with its target beside it.
# Options are passed on: --import-count N (default 2000), --sync-count N (default 100).
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"

import_count=2000 sync_count=100
while [ $# -gt 0 ]; do
    case $1 in
    --import-count) import_count=$2; shift 2 ;;
    --sync-count) sync_count=$2; shift 2 ;;
    *) echo "usage: scripts/bench.sh [--import-count N] [--sync-count N]" >&2; exit 2 ;;
    esac
done

kalvora_install_packages >&2
folder="$KALVORA_ROOT/build/bench"
kalvora_build "$folder" Release -DBUILD_TESTING=OFF >&2
benchmarks="$folder/Benchmarks"
logs=$(mktemp -d)
trap 'rm -rf "$logs"' EXIT

echo "Running the import benchmark ($import_count photos)…" >&2
"$benchmarks/kalvora-bench-import" --count "$import_count" >"$logs/import" 2>&1
echo "Running the sync benchmark ($sync_count photos of 6000 x 4000 px)…" >&2
"$benchmarks/kalvora-bench-sync" --count "$sync_count" >"$logs/sync" 2>&1
echo "Running the timeline benchmark (50 cameras x 2,000 photos)…" >&2
QT_QPA_PLATFORM=offscreen "$benchmarks/kalvora-bench-timeline" >"$logs/timeline" 2>&1
echo "Running the suggestion benchmark (50 cameras x 2,000 photos, 1,000 generated events)…" >&2
"$benchmarks/kalvora-bench-suggest" >"$logs/suggest" 2>&1

# figure <label> <value> <target>
row() { printf '%-44s %14s   %s\n' "$1" "$2" "$3"; }
# The number at the end of a "name   value unit" line of a benchmark's output.
value() { grep -m1 -F "$2" "$logs/$1" | sed -E 's/.*[[:space:]]([-0-9.]+)[[:space:]]*[a-z%]*$/\1/'; }
import_value() { grep -m1 -F "$1" "$logs/import" | awk '{for (i = 1; i <= NF; ++i) if ($i ~ /^[0-9.]+$/) { print $i; exit } }'; }
# The first number after "label:" on the sync benchmark's line of that label.
sync_value() { grep -m1 -F "$1:" "$logs/sync" | sed -E 's/^[^:]*:[[:space:]]*([-0-9.]+).*/\1/'; }

printf '\n%-44s %14s   %s\n' "figure" "measured" "target"
printf '%s\n' "$(printf '%.0s-' {1..80})"
row "import: photos per second" "$(import_value 'photos per second')" ">= 1500"
row "import: times faster than exiftool -fast2" "$(import_value 'times faster')" ">= 5"
row "import: memory per loaded photo (KB)" "$(import_value 'memory per loaded photo')" "<= 100"
row "import: peak resident memory (KB)" "$(import_value 'peak resident memory')" ""
row "sync: one camera, $sync_count photos (s)" "$(sync_value 'one camera')" ""
row "sync: four cameras, $sync_count photos (s)" "$(sync_value 'four cameras')" ""
row "sync: undo of the four cameras (s)" "$(sync_value 'undo of the four cameras')" ""
row "sync: one exiftool batch, same photos (s)" "$(sync_value 'exiftool batch, one process')" ""
row "sync: one camera / exiftool batch" "$(sync_value 'one camera / batch')" "<= 0.67"
row "sync: four cameras / exiftool batch" "$(sync_value 'four cameras / batch')" "<= 0.67"
row "sync: undo / exiftool batch" "$(sync_value 'undo / batch')" "<= 0.67"
row "sync: photos exactly shifted" "$(sync_value 'exact after the three runs')" "all"
row "sync: peak memory (MB)" "$(sync_value 'peak memory (VmHWM)')" "< 150"
for zoom in "smallest zoom" "slider 1%" "middle zoom" "largest zoom"; do
    row "timeline: frame at $zoom, median (ms)" "$(value timeline "frame at $zoom, median")" "<= 8"
    row "timeline: frame at $zoom, worst (ms)" "$(value timeline "frame at $zoom, worst")" ""
    row "timeline: frame at $zoom, afresh (ms)" \
        "$(value timeline "frame at $zoom, median, painted afresh")" ""
done
row "timeline: show the browser (ms)" "$(value timeline 'show browser')" ""
row "timeline: one zoom step, median (ms)" "$(value timeline 'zoom step, median')" ""
row "timeline: row widgets alive" "$(value timeline 'row widgets alive,')" "what is visible"
row "timeline: thumbnail items alive, most" "$(value timeline 'thumbnail items alive, most')" "what is visible"
row "suggest: 50 cameras x 2,000 photos (ms)" "$(value suggest 'median of 5')" "< 1000"
row "suggest: same, processor time (ms)" "$(value suggest 'processor time')" ""
row "suggest: cameras within 2 s of the truth (%)" "$(value suggest 'within 2 s of the truth')" ""
row "suggest: cameras confident (%)" "$(value suggest 'confident (>= 0.8)')" ""
row "suggest: confident and wrong" "$(value suggest 'confident and wrong')" "0"
echo
echo "Full outputs: kalvora-bench-import, kalvora-bench-sync, kalvora-bench-timeline and kalvora-bench-suggest in $benchmarks" >&2
