#!/usr/bin/env bash
# Installs the Debian packages needed to build, run and test the project (as root), on Debian 12
# (bookworm) and Debian 13 (trixie): one list common to both and a short list per release.
# Packages already installed are skipped; apt-get runs only when something is missing.
# With --only PACKAGE..., installs just those (scripts/test.sh fetches debootstrap first, so that
# the Debian 13 root is made while the rest installs).
set -euo pipefail
only=()
if [ "${1:-}" = --only ]; then
    shift
    only=("$@")
fi

common=(
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
    # build: the touch-path-wayland benchmark's reference, a plain libdbus client
    libdbus-1-dev
    # run
    libqt6svg6 fonts-dejavu-core
    # run on Wayland desktops: Qt's wayland platform; touchback through mutter or the portal needs PipeWire
    qt6-wayland pipewire
    # test: X server, mDNS daemon, namespaces, accessibility, screenshots, benchmarks
    xvfb xauth x11-utils avahi-daemon avahi-utils dbus iproute2 util-linux procps
    at-spi2-core python3 python3-pyatspi imagemagick curl valgrind time
    # test: headless GNOME (mutter) and KDE (kwin, its plugins in kwin-common) sessions with their
    # RemoteDesktop portals, a headless Sway session (wlroots: the virtual pointer), Qt 5's wayland
    # platform for the KDE 5 portal backend, stream screenshots
    mutter wireplumber xwayland kwin-wayland kwin-common sway qtwayland5 dbus-bin fuse3
    xdg-desktop-portal xdg-desktop-portal-gnome xdg-desktop-portal-kde python3-gi
    gstreamer1.0-pipewire gstreamer1.0-tools gstreamer1.0-plugins-base gstreamer1.0-plugins-good
)

codename=$(. /etc/os-release 2>/dev/null && echo "${VERSION_CODENAME:-}")
case "$codename" in
bookworm)
    # Debian 12: Qt 6.4 (its SVG icon engine is part of libqt6svg6), GCC 12
    clang=14
    # scripts/test.sh's debian13 stage makes a Debian 13 root with debootstrap
    release=(debootstrap)
    ;;
trixie)
    # Debian 13: Qt 6.8, whose SVG icon engine (the window's icons) is in qt6-svg-plugins, GCC 14
    clang=19
    release=(qt6-svg-plugins)
    ;;
*)
    pretty=$(. /etc/os-release 2>/dev/null && echo "${PRETTY_NAME:-}")
    cat >&2 <<MSG
install-deps: this system (${pretty:-unknown}${codename:+, $codename}) is not one this script knows.
It installs packages for Debian 12 (bookworm) and Debian 13 (trixie). Elsewhere, install:
  - CMake 3.25 or newer, Ninja, a C++20 compiler (GCC 12 or newer), pkg-config;
  - Qt 6.4 or newer: Core, Gui, Widgets, Network, Svg, Test, DBus and their development files,
    the xcb platform plugin and the SVG icon engine (without it the window's icons are blank);
  - development files of libX11, libXtst, libXi, libxkbcommon, libGL, avahi-client, OpenSSL,
    libwayland, wayland-protocols, libdbus and libcurl (OpenSSL flavour), and rsvg-convert;
  - for the tests: Xvfb, avahi-daemon, dbus, iproute2, AT-SPI with pyatspi, ImageMagick, mutter,
    kwin, sway, xdg-desktop-portal (gnome and kde backends), PipeWire and GStreamer's pipewire plugin;
  - for the fuzz and asan-clang presets: clang 14 to 19 with its libFuzzer and compiler-rt.
The full list for Debian is in this script (the arrays common and release).
MSG
    exit 1
    ;;
esac

# The release's clang with the libFuzzer and sanitizer runtimes the fuzz and asan-clang presets
# use (cmake/clang-toolchain.cmake finds it); llvm-N brings llvm-symbolizer for sanitizer stacks.
release+=("clang-$clang" "libfuzzer-$clang-dev" "llvm-$clang" "libclang-rt-$clang-dev")

packages=("${common[@]}" "${release[@]}")
[ ${#only[@]} -eq 0 ] || packages=("${only[@]}")
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
    # A machine whose last dpkg run was cut off refuses every install until it is finished;
    # finish it, and wait for another apt (an unattended upgrade) rather than fail at once.
    dpkg --configure -a
    lock=(-o DPkg::Lock::Timeout=600)
    apt-get "${lock[@]}" update -q
    apt-get "${lock[@]}" install -y -q -f --no-install-recommends "${missing[@]}"
fi
