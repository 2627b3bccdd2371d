#!/usr/bin/env bash
# Installs what is missing (with the protocol peers the tests use), builds, and runs
# every test through ctest. GUI tests run on the offscreen platform.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh test
scripts/build.sh
export QT_QPA_PLATFORM=offscreen
cd build
ctest --output-on-failure --parallel "$(nproc)" "$@"
