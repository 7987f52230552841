#!/usr/bin/env bash
# Installs what is needed, then runs the stages named in ORVENTA_TEST_STAGES (default
# "ci fuzz debian13" on Debian 12, "ci fuzz" on Debian 13):
#   ci         builds with warnings as errors (build/ci) and runs the whole test suite through
#              CTest, the packaging tests (package build, lintian, system install) included;
#   fuzz       builds the libFuzzer targets (fuzz preset, the newest clang installed) and fuzzes
#              each for ORVENTA_FUZZ_SECONDS (default 60) from its seed corpus in tests/fuzz/corpus;
#   debian13   runs the stages in ORVENTA_DEBIAN13_STAGES (default "ci") in a Debian 13 root made
#              by scripts/debian13-root.sh (debootstrap; kept in ORVENTA_DEBIAN13_ROOT when set,
#              else made and removed); the root is prepared in the background from the start;
#   asan       the GCC AddressSanitizer + UBSan build (asan preset) and the suite under it, leak
#              detection on (tests/sanitizers/lsan.supp lists the system libraries' own leaks);
#   asan-clang the same with clang, the fuzz targets and the packaging tests in one tree
#              (asan-clang preset). asan and asan-clang run on request only.
# The tests start their own X servers and mDNS daemons and stop them. Arguments are passed to
# each ctest run (e.g. -R NAME). A failing stage does not stop the next; the failed tests of
# every stage are listed at the end and the exit status is 1.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
codename=$(. /etc/os-release && echo "${VERSION_CODENAME:-}")
if [ "$codename" = bookworm ]; then
    stages=${ORVENTA_TEST_STAGES:-ci fuzz debian13}
else
    stages=${ORVENTA_TEST_STAGES:-ci fuzz}
fi
failed=()
# The Debian 13 root (debootstrap and about 1,000 packages: mostly waiting on the network and
# on dpkg) is made in the background while this machine's packages install and the Debian 12
# stages build and test, and used by the debian13 stage; a root made here is removed at the end.
d13_root=${ORVENTA_DEBIAN13_ROOT:-}
d13_pid=
# On every exit: stop a preparation still running, remove the root, keep the exit status.
remove_d13_root() {
    local rc=$?
    if [ -n "$d13_pid" ] && kill -0 "$d13_pid" 2>/dev/null; then
        kill "$d13_pid" 2>/dev/null || true
        wait "$d13_pid" 2>/dev/null || true
    fi
    rm -rf --one-file-system "$d13_root" || echo "test.sh: could not remove $d13_root" >&2
    exit "$rc"
}
if [[ " $stages " == *" debian13 "* ]]; then
    if [ -z "$d13_root" ]; then
        d13_root=$(mktemp -d /var/tmp/orventa-debian13.XXXXXX)
        trap remove_d13_root EXIT
    fi
    ORVENTA_NO_SERVICE_START=1 "$root/scripts/install-deps.sh" --only debootstrap
    mkdir -p "$root/build"
    d13_log=$root/build/debian13-root-prepare.log
    echo "== test.sh ($codename): preparing the Debian 13 root in $d13_root (log: $d13_log)"
    bash "$root/scripts/debian13-root.sh" --root "$d13_root" \
        env ORVENTA_NO_SERVICE_START=1 bash scripts/install-deps.sh >"$d13_log" 2>&1 &
    d13_pid=$!
fi
stage() {
    echo "== test.sh ($codename): $1 ($(date -u +%H:%M:%S), ${SECONDS}s so far)"
}
ORVENTA_NO_SERVICE_START=1 "$root/scripts/install-deps.sh"
stage "packages installed"
wanted() {
    [[ " $stages " == *" $1 "* ]]
}
# ctest in build tree DIR; on failure remembers the failed tests under LABEL.
run_ctest() {
    local label=$1 dir=$2
    shift 2
    if ! (cd "$dir" && ctest --output-on-failure "$@"); then
        local names
        names=$(sed 's/^[0-9]*://' "$dir/Testing/Temporary/LastTestsFailed.log" 2>/dev/null | tr '\n' ' ')
        failed+=("$codename $label: ${names:-ctest failed}")
    fi
}
build() {
    local preset=$1
    shift
    local started=$SECONDS
    if cmake --preset "$preset" -S "$root" >/dev/null && cmake --build "$root/build/$preset" "$@"; then
        echo "== test.sh ($codename): build/$preset built in $((SECONDS - started)) s"
    else
        failed+=("$codename $preset: build failed")
        return 1
    fi
}
sanitizer_env() {
    # Inherited by every test and every process a test starts (the application, helpers,
    # receiver-sim). abort_on_error makes a report end the process the way a crash does.
    export ASAN_OPTIONS="detect_leaks=1:halt_on_error=1:abort_on_error=1:print_stacktrace=1"
    export LSAN_OPTIONS="suppressions=$root/tests/sanitizers/lsan.supp:print_suppressions=0"
    export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1"
    local symbolizer
    symbolizer=$(ls /usr/lib/llvm-*/bin/llvm-symbolizer 2>/dev/null | sort -V | tail -n1)
    [ -z "$symbolizer" ] || export ASAN_SYMBOLIZER_PATH=$symbolizer
}

# fuzz first: its build and timed runs leave the Debian 13 root's preparation time to finish
# before the timing-sensitive suite runs.
if wanted fuzz; then
    stage "fuzz build and runs (${ORVENTA_FUZZ_SECONDS:-60} s per target)"
    if build fuzz --target orventa_fuzzers; then
        run_ctest fuzz "$root/build/fuzz" -j2 -L fuzz "$@"
    fi
fi

if wanted ci; then
    stage "ci build and suite"
    if build ci; then
        started=$SECONDS
        run_ctest ci "$root/build/ci" --timeout 600 -j2 "$@"
        echo "== test.sh ($codename): ci suite ran in $((SECONDS - started)) s"
    fi
fi

if wanted asan-clang; then
    stage "asan-clang build, suite, fuzzers and packaging"
    if build asan-clang; then
        started=$SECONDS
        # The packaging tests build and install the release package, not this tree: they run
        # on their own below.
        sanitizer_env
        run_ctest asan-clang "$root/build/asan-clang" --timeout 1200 -j2 -LE 'packaging|fuzz' "$@"
        unset ASAN_OPTIONS LSAN_OPTIONS UBSAN_OPTIONS
        echo "== test.sh ($codename): asan-clang suite ran in $((SECONDS - started)) s"
        started=$SECONDS
        run_ctest "asan-clang fuzz" "$root/build/asan-clang" -j2 -L fuzz "$@"
        echo "== test.sh ($codename): fuzz targets ran in $((SECONDS - started)) s"
        started=$SECONDS
        run_ctest "asan-clang packaging" "$root/build/asan-clang" --timeout 2400 -L packaging "$@"
        echo "== test.sh ($codename): packaging tests ran in $((SECONDS - started)) s"
    fi
fi

if wanted asan; then
    stage "asan build and suite"
    if build asan; then
        sanitizer_env
        run_ctest asan "$root/build/asan" --timeout 1200 -j2 -LE 'packaging|fuzz' "$@"
        unset ASAN_OPTIONS LSAN_OPTIONS UBSAN_OPTIONS
    fi
fi

if wanted debian13; then
    stage "Debian 13 root: waiting for its preparation"
    if ! wait "$d13_pid"; then
        tail -n 40 "$d13_log"
        failed+=("debian13: the Debian 13 root could not be made (log: $d13_log)")
    else
        grep '^== debian13-root' "$d13_log" || true
        stage "Debian 13 root: ${ORVENTA_DEBIAN13_STAGES:-ci} stage"
        if ! ORVENTA_TEST_STAGES=${ORVENTA_DEBIAN13_STAGES:-ci} \
            bash "$root/scripts/debian13-root.sh" --root "$d13_root" bash scripts/test.sh "$@"; then
            failed+=("debian13: the Debian 13 stage failed (its own summary is above; logs in build/debian13)")
        fi
    fi
fi

stage "done"
if [ ${#failed[@]} -gt 0 ]; then
    echo "== test.sh ($codename): FAILED"
    printf '   %s\n' "${failed[@]}"
    exit 1
fi
echo "== test.sh ($codename): all stages passed"
