#!/usr/bin/env bash
# Builds tabvet and the Windows tabvet.exe (scripts/windows.sh, build-windows/), and runs the whole test suite,
# format check and the Windows tests under Wine included; then the same tests again under AddressSanitizer and
# UndefinedBehaviorSanitizer with the fuzz targets (scripts/sanitizers.sh, build-asan/).
# Needs no running services: the database tests start and stop their own throwaway PostgreSQL cluster.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh
bash scripts/windows.sh
ctest --test-dir build --output-on-failure -j2
bash scripts/sanitizers.sh
