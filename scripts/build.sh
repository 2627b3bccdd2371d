#!/usr/bin/env bash
# Configures and builds into build/ with the dev preset.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake --preset dev >/dev/null
cmake --build build --parallel "$(nproc)"
