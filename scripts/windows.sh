#!/usr/bin/env bash
# Cross-builds the headless tabvet.exe for 64-bit Windows into build-windows/ (build-windows/src/app/tabvet.exe,
# copied to build-windows/tabvet.exe), the zip for Windows users (build-windows/tabvet-<version>-windows-x64.zip:
# the program, README.md and LICENSE.txt), and the Windows test programs that the Linux build's ctest runs
# under Wine. Needs Debian's mingw-w64 compiler (scripts/setup.sh installs it). An unchanged tree rebuilds
# nothing. Usage: windows.sh [--no-tests]
set -euo pipefail
cd "$(dirname "$0")/.."

tests=ON
if [ "${1:-}" = "--no-tests" ]; then
    tests=OFF
elif [ $# -gt 0 ]; then
    echo "usage: windows.sh [--no-tests]" >&2
    exit 2
fi

compiler=x86_64-w64-mingw32-g++-posix
if ! command -v "$compiler" >/dev/null 2>&1; then
    echo "windows.sh: $compiler is missing; run scripts/setup.sh (package g++-mingw-w64-x86-64-posix)" >&2
    exit 1
fi

# The window needs Qt for Windows, which Debian does not have: the program is the headless mode alone.
# -O2 as in the Linux build: at -O3 this compiler warns of overlapping copies inside std::string that
# cannot happen.
cmake -S . -B build-windows -G Ninja --no-warn-unused-cli -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-x86_64.cmake \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_RELEASE="-O2 -DNDEBUG" -DTABVET_BUILD_GUI=OFF -DTABVET_BUILD_BENCH=OFF -DTABVET_BUILD_TESTS="$tests" \
    >/dev/null
cmake --build build-windows -j"$(nproc)"
cp -p build-windows/src/app/tabvet.exe build-windows/tabvet.exe
echo "Windows program: build-windows/tabvet.exe"
echo "Windows zip: $(ls -t build-windows/tabvet-*-windows-x64.zip | head -n 1)"
