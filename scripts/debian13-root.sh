#!/usr/bin/env bash
# Runs a command in a Debian 13 (trixie) system on a Debian 12 machine (as root): a root made
# with debootstrap from the archive this machine's apt already uses, with the source tree copied
# to /src/orventa-companion and the command run there. Used by scripts/test.sh's debian13 stage.
#   scripts/debian13-root.sh [--root DIR] COMMAND [ARG...]
# Without --root (or ORVENTA_DEBIAN13_ROOT) the root is made in a temporary folder and removed
# at the end; with it, DIR is made once and kept, and later runs reuse it and its build trees.
# Everything runs in private mount and PID namespaces: /proc, /sys, /dev, a private /run and /tmp
# and the root bound onto itself (so that `ip netns` works inside it) are seen by nothing else and
# vanish with every process started inside, on any exit. Test logs (LastTest*.log) and packages
# are copied back to build/debian13.
set -euo pipefail
source_dir=$(cd "$(dirname "$0")/.." && pwd)
suite=trixie

if [ "${1:-}" = --inside ]; then
    # In the namespaces: mount, copy the source in, run the command.
    shift
    root=$1
    shift
    mount --bind "$root" "$root"
    mount -t proc proc "$root/proc"
    mount --rbind /sys "$root/sys"
    mount --rbind /dev "$root/dev"
    mount -t tmpfs -o mode=1777 tmpfs "$root/dev/shm"
    mount -t tmpfs -o mode=755 tmpfs "$root/run"
    mount -t tmpfs -o mode=1777 tmpfs "$root/tmp"
    cp -L /etc/resolv.conf "$root/etc/resolv.conf"
    src=$root/src/orventa-companion
    mkdir -p "$src"
    # A new copy of the sources, keeping the build trees of an earlier run in a kept root.
    find "$src" -mindepth 1 -maxdepth 1 ! -name build -exec rm -rf {} +
    if git -C "$source_dir" rev-parse --git-dir >/dev/null 2>&1; then
        (cd "$source_dir" && git ls-files -z --cached --others --exclude-standard) |
            (cd "$source_dir" && tar --null --files-from=- --ignore-failed-read -cf - 2>/dev/null)
    else
        tar -C "$source_dir" --exclude=./build -cf - .
    fi | tar -xf - -C "$src"
    rc=0
    chroot "$root" /usr/bin/env -i PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
        HOME=/root LANG=C.UTF-8 TERM="${TERM:-dumb}" CI="${CI:-}" \
        ORVENTA_TEST_STAGES="${ORVENTA_TEST_STAGES:-}" ORVENTA_FUZZ_SECONDS="${ORVENTA_FUZZ_SECONDS:-}" \
        ORVENTA_TEST_SYSTEM_INSTALL="${ORVENTA_TEST_SYSTEM_INSTALL:-}" \
        bash -c 'cd /src/orventa-companion && exec "$@"' bash "$@" || rc=$?
    out=$source_dir/build/debian13
    mkdir -p "$out"
    for log in "$src"/build/*/Testing/Temporary/LastTest*.log; do
        [ -f "$log" ] || continue
        tree=$(basename "$(dirname "$(dirname "$(dirname "$log")")")")
        cp "$log" "$out/$tree-$(basename "$log")"
    done
    cp "$src"/build/*/package/*.deb "$src"/build/package/*.deb "$out/" 2>/dev/null || true
    exit "$rc"
fi

root=${ORVENTA_DEBIAN13_ROOT:-}
if [ "${1:-}" = --root ]; then
    root=$2
    shift 2
fi
[ $# -gt 0 ] || { echo "usage: $0 [--root DIR] COMMAND [ARG...]" >&2; exit 2; }
[ "$(id -u)" -eq 0 ] || { echo "debian13-root: needs root (debootstrap, chroot, mounts)" >&2; exit 1; }
for tool in debootstrap unshare chroot; do
    command -v "$tool" >/dev/null || {
        echo "debian13-root: $tool is missing (scripts/install-deps.sh installs it)" >&2
        exit 1
    }
done

temporary=0
if [ -z "$root" ]; then
    root=$(mktemp -d /var/tmp/orventa-debian13.XXXXXX)
    temporary=1
fi
mkdir -p "$root"
# The root folder is the system's /: open to every user (mktemp made it 0700), or the tests'
# unprivileged compositors cannot even load libc.
chmod 755 "$root"
root=$(cd "$root" && pwd)
cleanup() {
    # The namespaces are gone by now, and with them every mount inside the root.
    if [ "$temporary" = 1 ]; then
        rm -rf --one-file-system "$root"
    fi
}
trap cleanup EXIT
trap 'exit 130' INT TERM HUP

# The archive this machine's apt uses for Debian itself (not its security archive), read from
# deb822 .sources files or sources.list at run time.
archive() {
    local f
    {
        for f in /etc/apt/sources.list.d/*.sources; do
            if [ -f "$f" ]; then awk '/^URIs:/ { for (i = 2; i <= NF; i++) print $i }' "$f"; fi
        done
        for f in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
            if [ -f "$f" ]; then
                awk '$1 == "deb" { for (i = 2; i <= NF; i++) if ($i !~ /^\[/) { print $i; break } }' "$f"
            fi
        done
    } | grep -E '^(https?|file):' | grep -v -- '-security' | head -n1 || true
}

if [ ! -x "$root/usr/bin/apt-get" ]; then
    mirror=$(archive)
    [ -n "$mirror" ] || { echo "debian13-root: no Debian archive found in /etc/apt" >&2; exit 1; }
    echo "== debian13-root: debootstrap $suite into $root"
    started=$SECONDS
    # In a private mount namespace too, so that what debootstrap mounts cannot outlive it.
    unshare --mount --propagation private debootstrap --variant=minbase \
        --keyring=/usr/share/keyrings/debian-archive-keyring.gpg "$suite" "$root" "$mirror" \
        >"$root.debootstrap.log" 2>&1 || {
        tail -n 30 "$root.debootstrap.log" >&2
        echo "debian13-root: debootstrap failed (log: $root.debootstrap.log)" >&2
        exit 1
    }
    rm -f "$root.debootstrap.log"
    echo "== debian13-root: debootstrap took $((SECONDS - started)) s"
fi
grep -q "VERSION_CODENAME=$suite" "$root/etc/os-release" ||
    { echo "debian13-root: $root is not a Debian 13 system" >&2; exit 1; }

# --kill-child: when unshare ends, everything in the PID namespace ends with it. unshare ignores
# SIGINT and SIGTERM while it waits, so a stopped script ends it with SIGKILL.
unshare --mount --pid --fork --kill-child --propagation private bash "$0" --inside "$root" "$@" &
inner=$!
trap 'kill -KILL "$inner" 2>/dev/null; wait "$inner"; exit 130' INT TERM HUP
rc=0
wait "$inner" || rc=$?
exit "$rc"
