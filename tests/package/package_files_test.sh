#!/usr/bin/env bash
# The Debian package as Debian's tools and a desktop see it: lintian without errors or warnings, the control
# fields, exactly the files an installation should hold, a valid desktop entry whose program and icon are in
# the package, and one version in the package, the program and its manual page.
# Usage: package_files_test.sh DEB VERSION
set -euo pipefail
[ $# -eq 2 ] || { echo "usage: package_files_test.sh DEB VERSION" >&2; exit 2; }
deb=$1 version=$2
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=package_common.sh
. "$here/package_common.sh"
needs "$deb" scripts/package.sh

# Warnings fail too; none is accepted today. Informational tags are shown, not failed on.
lintian_status=0
lintian_said=$(lintian --fail-on error,warning --display-info "$deb" 2>&1) || lintian_status=$?
grep -v 'root privileges' <<<"$lintian_said" || true
[ "$lintian_status" -eq 0 ] || fail "lintian exited $lintian_status"

field() { dpkg-deb --field "$deb" "$1"; }
[ "$(field Package)" = tabvet ] || fail "Package is '$(field Package)'"
[ "$(field Version)" = "$version" ] || fail "Version is '$(field Version)', the build's is $version"
depends=$(field Depends)
# The libraries of both programs come from dpkg-shlibdeps; drivers are only suggested.
for library in libodbc2 libqt6widgets6 libstdc++6; do
    [[ $depends == *"$library "* ]] || fail "Depends lacks $library: $depends"
done
[[ $depends != *odbc-* ]] || fail "Depends requires a driver: $depends"
[[ $(field Suggests) == *odbc-postgresql*odbc-mariadb* ]] || fail "Suggests: $(field Suggests)"

unpack "$deb"

# Every file of the package, and nothing else.
expected=$(grep -v "^#" "$here/../fixtures/package/files.txt")
actual=$(cd "$root" && find . -type f -printf '%P\n' | LC_ALL=C sort)
[ "$actual" = "$expected" ] || fail "files differ from the expected list:
$(diff <(echo "$expected") <(echo "$actual"))"

said=$("$tabvet" --version) || fail "tabvet --version exited $?"
[ "$said" = "tabvet $version" ] || fail "tabvet --version said '$said'"
zcat "$root/usr/share/man/man1/tabvet.1.gz" | grep -q "^\.TH TABVET 1 \"\" \"tabvet $version\"" ||
    fail "the manual page does not name version $version"

# The licence's text, every line of it, in the copyright file.
while IFS= read -r line; do
    [ -z "$line" ] || grep -qxF " $line" "$root/usr/share/doc/tabvet/copyright" || fail "copyright lacks: $line"
done < <(sed '1,/^Copyright/d' "$here/../../LICENSE")

desktop=$root/usr/share/applications/tabvet.desktop
desktop-file-validate "$desktop" || fail "desktop-file-validate"
exec_line=$(sed -n 's/^Exec=//p' "$desktop")
[ -x "$root/usr/bin/${exec_line%% *}" ] || fail "Exec=$exec_line is not a program of the package"
icon=$(sed -n 's/^Icon=//p' "$desktop")
# Each icon is as large as its folder says (the PNG header's width and height).
for png in "$root"/usr/share/icons/hicolor/*/apps/"$icon".png; do
    size=${png%/apps/*}
    size=${size##*/}
    read -r -a bytes < <(od -An -tu1 -j16 -N8 "$png")
    width=$((bytes[2] * 256 + bytes[3])) height=$((bytes[6] * 256 + bytes[7]))
    [ "${width}x$height" = "$size" ] || fail "$png is ${width}x$height"
done

finish "package files as expected: $deb"
