#!/usr/bin/env bash
# Installs the Debian 12 packages needed to build, run and test the project (as root).
# Packages already installed are skipped; apt-get runs only when something is missing.
set -euo pipefail
packages=(
    # build
    cmake ninja-build g++ pkg-config ccache
    qt6-base-dev qt6-base-dev-tools qt6-svg-dev qt6-qpa-plugins libgl-dev libxkbcommon-dev
    libx11-dev libxtst-dev libxi-dev libavahi-client-dev libssl-dev
    libcurl4-openssl-dev # the receiver requests' HTTP client
    # build: the wlroots virtual pointer (libwayland-client, wayland-scanner) and the Wayland
    # pointer observer used by tests and benchmarks (xdg-shell from wayland-protocols)
    libwayland-dev wayland-protocols
    librsvg2-bin # renders the icon sizes from the icon drawing
    # package (scripts/package.sh) and its checks: the menu entry and AppStream validators
    build-essential debhelper dpkg-dev lintian desktop-file-utils appstream
    # fuzz targets (libFuzzer needs clang); llvm-14 brings llvm-symbolizer for sanitizer stacks
    clang-14 libfuzzer-14-dev llvm-14
    # build: the touch-path-wayland benchmark's reference, a plain libdbus client
    libdbus-1-dev
    # run
    libqt6svg6 fonts-dejavu-core
    # run on Wayland desktops: Qt's wayland platform; touchback through mutter or the portal needs PipeWire
    qt6-wayland pipewire
    # test: X server, mDNS daemon, namespaces, accessibility, screenshots, benchmarks
    xvfb xauth x11-utils avahi-daemon avahi-utils dbus iproute2 util-linux procps
    at-spi2-core python3 python3-pyatspi imagemagick curl valgrind time
    # test: headless GNOME (mutter) and KDE (kwin) sessions with their RemoteDesktop portals,
    # a headless Sway session (wlroots: the virtual pointer), Qt 5's wayland platform for the
    # KDE portal backend, stream screenshots
    mutter wireplumber xwayland kwin-wayland sway qtwayland5 dbus-bin fuse3
    xdg-desktop-portal xdg-desktop-portal-gnome xdg-desktop-portal-kde python3-gi
    gstreamer1.0-pipewire gstreamer1.0-tools gstreamer1.0-plugins-base gstreamer1.0-plugins-good
)
missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
    if [ "$(id -u)" -ne 0 ]; then
        echo "install-deps: these packages are missing and installing them needs root: ${missing[*]}" >&2
        exit 1
    fi
    export DEBIAN_FRONTEND=noninteractive
    # For the test suite, installed services (avahi-daemon above all) must not start on the
    # machine's own network: the tests run their own daemons inside private namespaces.
    policy=/usr/sbin/policy-rc.d
    if [ "${ORVENTA_NO_SERVICE_START:-}" = 1 ] && [ ! -e "$policy" ]; then
        printf '#!/bin/sh\nexit 101\n' >"$policy"
        chmod +x "$policy"
        trap 'rm -f "$policy"' EXIT
    fi
    apt-get update -q
    apt-get install -y -q --no-install-recommends "${missing[@]}"
fi
