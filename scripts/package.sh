#!/usr/bin/env bash
# Builds the Debian package orventa-companion_VERSION_ARCH.deb from this source tree with
# dpkg-buildpackage and debhelper (debian/), without touching the tree itself: the sources are
# copied to BUILD_DIR/src and the .deb is written to BUILD_DIR (default build/package).
#   bash scripts/package.sh [--build-dir DIR] [--no-deps]
# Prints the path of the .deb as its last line.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build_dir=$root/build/package
install_deps=1
while [ $# -gt 0 ]; do
    case "$1" in
        --build-dir) build_dir=$2; shift 2 ;;
        --no-deps) install_deps=0; shift ;;
        *) echo "package: unknown option $1" >&2; exit 2 ;;
    esac
done
[ "$install_deps" = 0 ] || ORVENTA_NO_SERVICE_START=1 "$root/scripts/install-deps.sh"

version=$(dpkg-parsechangelog -l "$root/debian/changelog" -S Version)
arch=$(dpkg-architecture -qDEB_HOST_ARCH)
mkdir -p "$build_dir"
build_dir=$(cd "$build_dir" && pwd)
# A fixed source path keeps the compiler cache warm from one package build to the next.
src=$build_dir/src/orventa-companion-$version
rm -rf "$build_dir/src" "$build_dir"/orventa-companion_*
mkdir -p "$src"
# The files git knows of (committed or not, ignored ones left out), so build trees stay behind;
# a copy without git (the Debian 13 stage's) is taken whole but for its build folder.
if git -C "$root" rev-parse --git-dir >/dev/null 2>&1; then
    (cd "$root" && git ls-files -z --cached --others --exclude-standard) |
        (cd "$root" && tar --null --files-from=- --ignore-failed-read -cf - 2>/dev/null)
else
    tar -C "$root" --exclude=./build -cf - .
fi | tar -xf - -C "$src"

export DEB_BUILD_OPTIONS="noautodbgsym parallel=$(nproc) ${DEB_BUILD_OPTIONS:-}"
(cd "$src" && dpkg-buildpackage --build=binary --unsigned-source --unsigned-changes \
    >"$build_dir/build.log" 2>&1) || {
    tail -n 60 "$build_dir/build.log" >&2
    echo "package: dpkg-buildpackage failed; the whole log is $build_dir/build.log" >&2
    exit 1
}
# dpkg-buildpackage writes its results beside the source folder.
mv "$build_dir/src"/orventa-companion_"${version}"_* "$build_dir/"
deb=$build_dir/orventa-companion_${version}_${arch}.deb
[ -f "$deb" ] || { echo "package: $deb was not made" >&2; exit 1; }
echo "package: built $(du -h "$deb" | cut -f1) (log: $build_dir/build.log)"
echo "$deb"
