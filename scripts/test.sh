#!/usr/bin/env bash
# Builds tabvet, the Windows tabvet.exe and its zip (scripts/windows.sh, build-windows/) and the Debian package
# (scripts/package.sh, build-package/), and runs the whole test suite, format check, the Windows tests under
# Wine and the package's tests included; then the same tests again under AddressSanitizer and
# UndefinedBehaviorSanitizer with the fuzz targets (scripts/sanitizers.sh, build-asan/).
# Needs no running services: the database tests start and stop their own throwaway PostgreSQL cluster.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh
bash scripts/windows.sh
bash scripts/package.sh
ctest --test-dir build --output-on-failure -j2
bash scripts/sanitizers.sh
