#!/usr/bin/env bash
# Installs what is needed, builds with warnings as errors (build/ci) and runs the whole test
# suite through CTest. The tests start their own X servers and mDNS daemons and stop them.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
ORVENTA_NO_SERVICE_START=1 "$root/scripts/install-deps.sh"
cmake --preset ci -S "$root"
cmake --build "$root/build/ci"
cd "$root/build/ci"
ctest --output-on-failure --timeout 600 -j2 "$@"
