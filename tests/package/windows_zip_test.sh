#!/usr/bin/env bash
# The zip for Windows users: one folder named like the zip holding exactly tabvet.exe, README.md and
# LICENSE.txt, the texts as in the repository, and a program that runs under Wine and names the version the
# Linux build has.
# Usage: windows_zip_test.sh ZIP WINEPREFIX VERSION
set -euo pipefail
[ $# -eq 3 ] || { echo "usage: windows_zip_test.sh ZIP WINEPREFIX VERSION" >&2; exit 2; }
zip=$1 prefix=$2 version=$3
here=$(cd "$(dirname "$0")" && pwd)
sources=$here/../..
# shellcheck source=package_common.sh
. "$here/package_common.sh"
needs "$zip" scripts/windows.sh

work=$(mktemp -d /tmp/tabvet-zip.XXXXXX)
trap 'rm -rf "$work"' EXIT
(cd "$work" && cmake -E tar xf "$zip")
folder=$(basename "$zip" .zip)
expected="$folder/LICENSE.txt
$folder/README.md
$folder/tabvet.exe"
actual=$(cd "$work" && find . -type f -printf '%P\n' | LC_ALL=C sort)
[ "$actual" = "$expected" ] || fail "files differ from the expected list:
$(diff <(echo "$expected") <(echo "$actual"))"
cmp "$work/$folder/README.md" "$sources/README.md" || fail "README.md differs from the repository's"
cmp "$work/$folder/LICENSE.txt" "$sources/LICENSE" || fail "LICENSE.txt differs from the repository's LICENSE"

said=$(bash "$sources/tests/windows/wine.sh" run "$prefix" "$work/$folder/tabvet.exe" --version </dev/null) ||
    fail "tabvet.exe --version exited $?"
[ "$said" = "tabvet $version" ] || fail "tabvet.exe --version said '$said'"

finish "Windows zip as expected: $zip"
