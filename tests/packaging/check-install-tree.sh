#!/usr/bin/env bash
# Installs the build tree into a temporary prefix and checks what lands there: exactly the files
# of install-tree.txt, a menu entry and AppStream metainfo that their validators accept and that
# name the application id, icons of the stated sizes, manual pages without groff warnings, and
# one version across the project, the metainfo and the Debian changelog.
#   check-install-tree.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build_dir=$1
source_dir=$2
here=$(cd "$(dirname "$0")" && pwd)
app_id=com.orventa.companion
stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

prefix=/opt/orventa-test
DESTDIR=$stage cmake --install "$build_dir" --prefix "$prefix" >/dev/null
root=$stage$prefix

echo "== installed files"
(cd "$root" && find . -mindepth 1 \( -type f -o -type l \) -printf '%P\n' | LC_ALL=C sort) >"$stage/actual.txt"
LC_ALL=C sort "$here/install-tree.txt" >"$stage/expected.txt"
if diff -u "$stage/expected.txt" "$stage/actual.txt"; then
    echo "ok: $(wc -l <"$stage/actual.txt") files, as listed"
else
    fail "the installed files differ from install-tree.txt (- expected, + installed)"
fi
for program in orventa-companion orventa-receiver-sim; do
    [ -x "$root/bin/$program" ] || fail "bin/$program is not executable"
done

echo "== menu entry"
desktop=$root/share/applications/$app_id.desktop
out=$(desktop-file-validate "$desktop" 2>&1) || fail "desktop-file-validate failed"
[ -z "$out" ] && echo "ok: desktop-file-validate printed nothing" || { echo "$out"; fail "desktop-file-validate complained"; }
entry() { sed -n "s/^$1=//p" "$desktop"; }
[ "$(entry Name)" = "ORVENTA Companion" ] || fail "Name is '$(entry Name)'"
[ "$(entry Icon)" = "$app_id" ] || fail "Icon is '$(entry Icon)'"
[ "$(entry Exec)" = "orventa-companion" ] || fail "Exec is '$(entry Exec)'"
# The X11 window class is the application name, which main.cpp sets to the id.
[ "$(entry StartupWMClass)" = "$app_id" ] || fail "StartupWMClass is '$(entry StartupWMClass)'"

echo "== AppStream metainfo"
metainfo=$root/share/metainfo/$app_id.metainfo.xml
if appstreamcli validate --pedantic --no-net "$metainfo"; then echo "ok: appstreamcli"; else fail "appstreamcli validate"; fi
grep -q "<id>$app_id</id>" "$metainfo" || fail "the metainfo's id is not $app_id"
grep -q "<launchable type=\"desktop-id\">$app_id.desktop</launchable>" "$metainfo" ||
    fail "the metainfo does not launch $app_id.desktop"
for program in orventa-companion orventa-receiver-sim; do
    grep -q "<binary>$program</binary>" "$metainfo" || fail "the metainfo does not provide $program"
done
# Every screenshot the metainfo names is one of the README's.
for shot in $(grep -o 'screenshots/[a-z-]*\.png' "$metainfo"); do
    [ -f "$source_dir/docs/$shot" ] || fail "the metainfo shows $shot, which docs/ does not have"
    grep -q "docs/$shot" "$source_dir/README.md" || fail "the README does not show $shot"
done

echo "== versions"
project=$(sed -n 's/^project(OrventaCompanion VERSION \([0-9.]*\) .*/\1/p' "$source_dir/CMakeLists.txt")
release=$(grep -o '<release version="[^"]*"' "$metainfo" | head -n1 | cut -d'"' -f2)
debian=$(dpkg-parsechangelog -l "$source_dir/debian/changelog" -S Version)
echo "project $project, metainfo release $release, Debian $debian"
[ "$project" = "$release" ] && [ "$project" = "$debian" ] || fail "the versions differ"

echo "== icons"
for size in 16 32 48 64 128 256; do
    png=$root/share/icons/hicolor/${size}x${size}/apps/$app_id.png
    actual=$(identify -format '%wx%h' "$png" 2>/dev/null || echo unreadable)
    [ "$actual" = "${size}x${size}" ] && echo "ok: ${size}x${size}" || fail "$png is $actual"
done
cmp -s "$root/share/icons/hicolor/scalable/apps/$app_id.svg" "$source_dir/assets/images/appIcon.svg" ||
    fail "the scalable icon is not the application's drawing"

echo "== manual pages"
for page in "$root"/share/man/man1/*.1; do
    warnings=$(LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -E UTF-8 -l -Tutf8 "$page" 2>&1 >/dev/null)
    [ -z "$warnings" ] && echo "ok: $(basename "$page")" || { echo "$warnings"; fail "$page has warnings"; }
done

[ "$failures" = 0 ] || { echo "$failures check(s) failed"; exit 1; }
echo "all install tree checks passed"
