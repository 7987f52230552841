#!/usr/bin/env bash
# Installs what is needed, builds the application (build/release) and starts it.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
cmake --preset release -S "$root" >/dev/null
if [ "${1:-}" = "--demo" ]; then
    shift
    cmake --build "$root/build/release" --target orventa-companion receiver-sim
    exec "$root/scripts/demo.sh" --build-dir "$root/build/release" "$@"
fi
cmake --build "$root/build/release" --target orventa-companion
exec "$root/build/release/src/app/orventa-companion" "$@"
