#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Kalvora developers
# SPDX-License-Identifier: GPL-3.0-or-later
# Installs what is missing, builds, and runs every test.
# KALVORA_SANITIZE=address|thread builds a separate sanitizer build and runs the tests in it.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"

kalvora_install_packages
folder="$KALVORA_ROOT/build/tests${KALVORA_SANITIZE:+-$KALVORA_SANITIZE}"
kalvora_build "$folder" RelWithDebInfo -DKALVORA_SANITIZE="${KALVORA_SANITIZE:-}"
cd "$folder"
export QT_QPA_PLATFORM=offscreen
# Qt is not built for ThreadSanitizer: its exemptions reach the tests and the programs they start.
if [ "${KALVORA_SANITIZE:-}" = address ]; then
    export LSAN_OPTIONS="suppressions=$KALVORA_ROOT/Tests/lsan.supp ${LSAN_OPTIONS:-}"
fi
if [ "${KALVORA_SANITIZE:-}" = thread ]; then
    export TSAN_OPTIONS="suppressions=$KALVORA_ROOT/Tests/tsan.supp ${TSAN_OPTIONS:-}"
fi
ctest --output-on-failure --timeout 300 -j "$(nproc)" "$@"
