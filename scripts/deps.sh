#!/usr/bin/env bash
# Installs the Debian packages Velmora needs that are missing on this machine.
# Usage: scripts/deps.sh [build|test]   (test adds the protocol peers the tests talk to)
set -euo pipefail

kind="${1:-build}"

build_packages=(
    cmake ninja-build g++ pkg-config
    qt6-base-dev qt6-base-dev-tools qt6-serialport-dev qt6-websockets-dev qt6-5compat-dev
    qt6-tools-dev qt6-tools-dev-tools qt6-l10n-tools libgl-dev
    liblua5.4-dev libbenchmark-dev zlib1g-dev clang libclang-rt-14-dev
    fonts-dejavu-core fonts-noto-cjk
    qt6-httpserver-dev libargon2-dev libqt6sql6-sqlite libqt6sql6-psql
)
test_packages=(
    socat python3-crccheck mbpoll python3-pymodbus python3-serial-asyncio tshark
    postgresql wrk ser2net python3-serial unzip chromium
)

packages=("${build_packages[@]}")
if [ "$kind" = "test" ]; then
    packages+=("${test_packages[@]}")
fi

missing=()
for package in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$package")
    fi
done

if [ "${#missing[@]}" -eq 0 ]; then
    exit 0
fi

echo "Installing missing packages: ${missing[*]}"
if [ "$(id -u)" -eq 0 ]; then
    sudo_cmd=()
elif command -v sudo >/dev/null 2>&1; then
    sudo_cmd=(sudo)
else
    echo "These packages are missing and neither root nor sudo is available: ${missing[*]}" >&2
    exit 1
fi

export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -q
"${sudo_cmd[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}"
