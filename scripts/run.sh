#!/usr/bin/env bash
# Installs what is missing, builds, and starts Velmora.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh build
scripts/build.sh
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ] && [ -z "${QT_QPA_PLATFORM:-}" ]; then
    echo "No display found (DISPLAY and WAYLAND_DISPLAY are unset): starting on the offscreen platform."
    echo "Nothing will be visible; run under a desktop session or xvfb-run to see the window."
    export QT_QPA_PLATFORM=offscreen
fi
exec build/src/velmora "$@"
