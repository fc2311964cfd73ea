#!/usr/bin/env bash
# Builds tabvet and its tests with AddressSanitizer and UndefinedBehaviorSanitizer (clang) into build-asan/,
# runs the unit and integration tests there, and fuzzes the connection-string keywords, the version-box
# conversion and the baseline reader for TABVET_FUZZ_SECONDS each (default 30). Any sanitizer report fails
# the run.
# Usage: sanitizers.sh [--build-only]
set -euo pipefail
cd "$(dirname "$0")/.."

fuzz_seconds=${TABVET_FUZZ_SECONDS:-30}
sanitizers="-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer"
# The Windows program's tests run in the main build only: Wine runs no sanitized program; nor do the
# package's, which test the release build of scripts/package.sh.
cmake -S . -B build-asan -G Ninja -DCMAKE_BUILD_TYPE=Debug \
    -DCMAKE_CXX_COMPILER=clang++ \
    -DCMAKE_CXX_FLAGS="-O1 $sanitizers" \
    -DCMAKE_EXE_LINKER_FLAGS="$sanitizers" \
    -DTABVET_BUILD_GUI=ON -DTABVET_TEST_WINDOWS_PROGRAM=OFF -DTABVET_TEST_PACKAGE=OFF \
    -DTABVET_BUILD_FUZZERS=ON -DTABVET_FUZZ_SECONDS="$fuzz_seconds" >/dev/null
cmake --build build-asan -j"$(nproc)"
[ "${1:-}" = "--build-only" ] && exit 0

# halt_on_error: the first report ends the process with a failure. The ODBC driver manager and the
# PostgreSQL driver are not built with the sanitizers; only leaks inside them are suppressed (see the file).
export ASAN_OPTIONS="halt_on_error=1:abort_on_error=0:detect_leaks=1:detect_stack_use_after_return=1:check_initialization_order=1:strict_init_order=1"
export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1"
export LSAN_OPTIONS="suppressions=$PWD/scripts/sanitizer_suppressions.txt:print_suppressions=0"
ctest --test-dir build-asan --output-on-failure -j2 -E "clang_format_check|clang_tidy_naming_check"
