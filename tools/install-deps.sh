#!/usr/bin/env bash
# Installs the Debian packages that building, running and testing need.
# Quick when everything is present: one dpkg-query, no apt call.
set -euo pipefail

packages=(
    # toolchain
    build-essential cmake ninja-build pkg-config clang-format
    # core libraries
    libsqlite3-dev sqlite3 nlohmann-json3-dev libssl-dev libsecret-1-dev libglib2.0-dev
    libmupdf-dev libmujs-dev libgumbo-dev libopenjp2-7-dev libjbig2dec0-dev libjpeg-dev
    libfreetype-dev libharfbuzz-dev
    # tests and benchmarks
    libgtest-dev libgmock-dev libbenchmark-dev
    # a real Secret Service for the integration tests
    dbus dbus-daemon gnome-keyring
)

missing=()
for p in "${packages[@]}"; do
    status=$(dpkg-query -W -f='${db:Status-Status}' "$p" 2>/dev/null || true)
    [ "$status" = installed ] || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
if [ "$(id -u)" -ne 0 ]; then
    SUDO=sudo
else
    SUDO=
fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
