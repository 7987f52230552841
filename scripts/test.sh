#!/usr/bin/env bash
# Installs what is needed, then:
#   1. builds with warnings as errors (build/ci) and runs the whole test suite through CTest;
#   2. builds the asan preset (AddressSanitizer + UBSan, build/asan) and runs the whole suite
#      but the packaging tests again under it, leak detection on (tests/sanitizers/lsan.supp lists the system
#      libraries' own leaks, nothing of ours);
#   3. builds the libFuzzer targets (fuzz preset, clang, build/fuzz) and fuzzes each for
#      ORVENTA_FUZZ_SECONDS (default 60) from its seed corpus in tests/fuzz/corpus.
# The tests start their own X servers and mDNS daemons and stop them. Arguments are passed to
# each ctest run (e.g. -R NAME). ORVENTA_TEST_STAGES picks stages (default "ci asan fuzz").
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
stages=${ORVENTA_TEST_STAGES:-ci asan fuzz}
ORVENTA_NO_SERVICE_START=1 "$root/scripts/install-deps.sh"

stage() {
    echo "== test.sh: $1 ($(date -u +%H:%M:%S), ${SECONDS}s so far)"
}

if [[ " $stages " == *" ci "* ]]; then
    stage "ci build and suite"
    cmake --preset ci -S "$root"
    cmake --build "$root/build/ci"
    (cd "$root/build/ci" && ctest --output-on-failure --timeout 600 -j2 "$@")
fi

if [[ " $stages " == *" asan "* ]]; then
    stage "asan build and suite"
    cmake --preset asan -S "$root"
    cmake --build "$root/build/asan"
    # Inherited by every test and every process a test starts (the application, helpers,
    # receiver-sim). abort_on_error makes a report end the process the way a crash does.
    supp="$root/tests/sanitizers/lsan.supp"
    (
        export ASAN_OPTIONS="detect_leaks=1:halt_on_error=1:abort_on_error=1:print_stacktrace=1"
        export LSAN_OPTIONS="suppressions=$supp:print_suppressions=0"
        export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1"
        cd "$root/build/asan"
        # The packaging tests build and install the release package, not this tree: the ci
        # stage has run them.
        ctest --output-on-failure --timeout 1200 -j2 -LE packaging "$@"
    )
fi

if [[ " $stages " == *" fuzz "* ]]; then
    stage "fuzz build and runs (${ORVENTA_FUZZ_SECONDS:-60} s per target)"
    cmake --preset fuzz -S "$root"
    cmake --build "$root/build/fuzz" --target orventa_fuzzers
    (cd "$root/build/fuzz" && ctest --output-on-failure -j2 -L fuzz "$@")
fi
stage "done"
