#!/usr/bin/env bash
# Installs the Debian packages tabvet needs (only the missing ones), then configures and builds into build/.
# Safe to run again: a complete machine costs one dpkg query and an incremental build.
set -euo pipefail
cd "$(dirname "$0")/.."

# g++-mingw-w64-x86-64-posix and wine64 build the Windows program (scripts/windows.sh) and run its tests;
# lintian and desktop-file-utils check the Debian package (scripts/package.sh).
packages=(build-essential cmake ninja-build pkg-config qt6-base-dev unixodbc unixodbc-dev odbc-postgresql
    postgresql mariadb-server odbc-mariadb googletest libgtest-dev libgmock-dev clang-format clang-tidy xvfb xdotool
    imagemagick clang libclang-rt-dev time g++-mingw-w64-x86-64-posix wine64 lintian desktop-file-utils)

missing=()
for package in "${packages[@]}"; do
    status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
    [ "$status" = "install ok installed" ] || missing+=("$package")
done

if [ ${#missing[@]} -gt 0 ]; then
    echo "Installing: ${missing[*]}"
    sudo=()
    [ "$(id -u)" -eq 0 ] || sudo=(sudo)
    export DEBIAN_FRONTEND=noninteractive
    "${sudo[@]}" apt-get update -qq
    "${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$(nproc)"
