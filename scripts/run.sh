#!/usr/bin/env bash
# Installs what is missing, builds in Release and starts Kalvora on the given photos or folders.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"

kalvora_install_packages >&2
folder="$KALVORA_ROOT/build/release"
kalvora_build "$folder" Release -DBUILD_TESTING=OFF >&2
if [ $# -eq 0 ]; then
    set -- "$KALVORA_ROOT/../shared/samples"
fi
exec "$folder/Kalvora.app/Contents/MacOS/kalvora-cli" list "$@"
