#!/usr/bin/env bash
# Builds the Debian package with the README's command and inspects it: its contents
# (dpkg-deb -c) against package-contents.txt, its control fields (dpkg-deb -I): Depends made by
# shlibdeps from the libraries the programs link, Recommends avahi-daemon and pipewire; and
# lintian: no error, and no warning that docs/packaging.md does not explain.
#   check-package.sh SOURCE_DIR PACKAGE_DIR
set -euo pipefail
source_dir=$1
package_dir=$2
here=$(cd "$(dirname "$0")" && pwd)
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

echo "== bash scripts/package.sh"
started=$SECONDS
deb=$(bash "$source_dir/scripts/package.sh" --no-deps --build-dir "$package_dir" | tail -n1)
echo "built $deb in $((SECONDS - started)) s, $(stat -c %s "$deb") bytes"

echo "== dpkg-deb -c"
dpkg-deb -c "$deb" | awk '$1 !~ /^d/ { sub(/^\.\//, "", $6); print $6 }' | LC_ALL=C sort >"$package_dir/contents.txt"
if diff -u <(LC_ALL=C sort "$here/package-contents.txt") "$package_dir/contents.txt"; then
    echo "ok: $(wc -l <"$package_dir/contents.txt") files, as listed"
else
    fail "the package's files differ from package-contents.txt (- expected, + packaged)"
fi
dpkg-deb -c "$deb" | awk '$1 !~ /^d/ && $2 != "root/root" { print }' | grep . &&
    fail "files not owned by root"

echo "== dpkg-deb -I"
field() { dpkg-deb -f "$deb" "$1"; }
for name in Package Version Architecture Installed-Size Depends Recommends; do
    echo "$name: $(field "$name")"
done
[ "$(field Package)" = orventa-companion ] || fail "Package is $(field Package)"
[ "$(field Version)" = "$(dpkg-parsechangelog -l "$source_dir/debian/changelog" -S Version)" ] ||
    fail "Version is not the changelog's"
[ "$(field Recommends)" = "avahi-daemon, pipewire" ] || fail "Recommends is '$(field Recommends)'"
# Made by dpkg-shlibdeps from what the two programs link (Qt, X11/XTest/XInput2, libwayland-client, libcurl,
# Avahi, libcrypto),
# plus the X11 platform plugin Qt loads at run time, which no program links. Debian 13 names some
# of these libraries with a t64 suffix (64-bit time_t).
depends=$(field Depends)
for library in libc6 libstdc++6 libqt6core6 libqt6gui6 libqt6widgets6 libqt6network6 libqt6svg6 \
    libx11-6 libxtst6 libwayland-client0 libcurl4 libavahi-client3 libavahi-common3 libssl3 qt6-qpa-plugins; do
    [[ ", $depends," =~ ", $library"(t64)?[\ ,] ]] || fail "Depends does not name $library"
done
[[ $depends =~ libqt6core6(t64)?\ \(\>=\ 6\. ]] || fail "Depends carries no shlibs version for libqt6core6"
# Qt's SVG icon engine draws the window's icons; Qt loads it at run time, so shlibdeps cannot see
# it: the package that ships it on this release (libqt6svg6, or qt6-svg-plugins on Debian 13)
# must be named.
engine=$(dpkg -S '*/qt6/plugins/iconengines/libqsvgicon.so' 2>/dev/null | cut -d: -f1 | head -n1)
if [ -z "$engine" ]; then
    fail "Qt's SVG icon engine (libqsvgicon.so) is not installed here (scripts/install-deps.sh installs it)"
elif [[ ", $depends," =~ ", $engine"[\ ,] ]]; then
    echo "ok: Depends names $engine, which ships Qt's SVG icon engine"
else
    fail "Depends does not name $engine, which ships Qt's SVG icon engine"
fi

echo "== lintian"
# Warnings and notes kept on purpose are the ones docs/packaging.md explains, each in backticks.
lintian --display-info "$deb" >"$package_dir/lintian.txt" 2>"$package_dir/lintian.err" || true
cat "$package_dir/lintian.txt"
grep -q '^E: ' "$package_dir/lintian.txt" && fail "lintian reports errors"
for tag in $(sed -n 's/^[WI]: [^:]*: \([^ ]*\).*/\1/p' "$package_dir/lintian.txt" | sort -u); do
    grep -q "\`$tag\`" "$source_dir/docs/packaging.md" || fail "lintian tag $tag is not explained in docs/packaging.md"
done
grep -v 'running with root privileges' "$package_dir/lintian.err" | grep . && fail "lintian did not run cleanly"
[ -s "$package_dir/lintian.txt" ] || echo "ok: lintian printed nothing"

[ "$failures" = 0 ] || { echo "$failures check(s) failed"; exit 1; }
echo "all package checks passed"
