#!/usr/bin/env bash
# Builds the Debian package build-package/tabvet_<version>_<arch>.deb: a release build with Debian's build
# flags (hardening included) in build-package/, installed into a staging root under /usr, plus what Debian
# wants beside it (compressed manual page and changelog, copyright file, control file with the libraries'
# packages from dpkg-shlibdeps, md5sums). The version is the one `tabvet --version` prints, and the top entry
# of packaging/debian/changelog must name it. Needs the packages scripts/setup.sh installs.
# Usage: package.sh
set -euo pipefail
cd "$(dirname "$0")/.."
[ $# -eq 0 ] || { echo "usage: package.sh" >&2; exit 2; }

build=build-package
die() { echo "package.sh: $*" >&2; exit 1; }
for tool in cmake ninja dpkg-buildflags dpkg-shlibdeps; do
    command -v "$tool" >/dev/null 2>&1 || die "$tool is missing; run scripts/setup.sh"
done

# Debian's flags for a release: optimised, with debugging information (stripped on install) and hardening.
export DEB_BUILD_MAINT_OPTIONS=hardening=+all
cxxflags="$(dpkg-buildflags --get CPPFLAGS) $(dpkg-buildflags --get CXXFLAGS)"
ldflags=$(dpkg-buildflags --get LDFLAGS)
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS="$cxxflags" \
    -DCMAKE_CXX_FLAGS_RELEASE=-DNDEBUG -DCMAKE_EXE_LINKER_FLAGS="$ldflags" -DCMAKE_MODULE_LINKER_FLAGS="$ldflags" \
    -DTABVET_BUILD_TESTS=OFF -DTABVET_BUILD_BENCH=OFF >/dev/null
cmake --build "$build" -j"$(nproc)"

version=$("$build/src/app/tabvet" --version | sed -n 's/^tabvet //p')
[ -n "$version" ] || die "$build/src/app/tabvet --version printed no version"
changelog=packaging/debian/changelog
changelog_version=$(sed -n '1s/^tabvet (\([^)]*\)).*/\1/p' "$changelog")
[ "$changelog_version" = "$version" ] ||
    die "$changelog starts with version '$changelog_version' but tabvet is $version: add an entry for $version"
arch=$(dpkg --print-architecture)
package=$build/tabvet_${version}_${arch}.deb

# The staging root where Debian's tools look for a package's files.
root=$build/debian/tabvet
rm -rf "$build/debian" "$package"
DESTDIR="$PWD/$root" cmake --install "$build" --prefix /usr --strip >/dev/null
doc=$root/usr/share/doc/tabvet
gzip -9n "$root/usr/share/man/man1/tabvet.1" "$doc/README.md"
# A version without a Debian revision makes this a native package, whose changelog is changelog.gz.
gzip -9n <"$changelog" >"$doc/changelog.gz"
# The licence goes into the copyright file in Debian's format, not beside it.
{
    echo "Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/"
    echo "Upstream-Name: tabvet"
    echo
    echo "Files: *"
    sed -n 's/^Copyright (c) /Copyright: /p' LICENSE
    echo "License: Expat"
    sed '1,/^Copyright/d' LICENSE | sed '/./,$!d' | sed 's/^$/./; s/^/ /'
} >"$doc/copyright"
rm "$doc/LICENSE"
find "$root" -type d -exec chmod 0755 {} +
find "$root" -type f -exec chmod go-w {} +

# The libraries' packages: dpkg-shlibdeps reads them from the installed programs, beside a debian/control of
# a source package, and takes the folder holding DEBIAN for the package's root.
mkdir "$root/DEBIAN"
printf 'Source: tabvet\n\nPackage: tabvet\nArchitecture: any\n' >"$build/debian/control"
mapfile -t programs < <(cd "$build" && find debian/tabvet -type f \( -path '*/bin/*' -o -name '*.so' \))
# The compiler's notes go too, as Debian's own packages have them stripped.
(cd "$build" && strip --remove-section=.comment --remove-section=.note "${programs[@]}")
depends=$(cd "$build" && dpkg-shlibdeps -O "${programs[@]/#/-e}" | sed -n 's/^shlibs:Depends=//p')
[ -n "$depends" ] || die "dpkg-shlibdeps found no dependencies"

(cd "$root" && find usr -type f -print0 | sort -z | xargs -0 md5sum) >"$root/DEBIAN/md5sums"
cat >"$root/DEBIAN/control" <<EOF
Package: tabvet
Version: $version
Architecture: $arch
Maintainer: $(sed -n '0,/^ -- /s/^ -- \(.*>\).*/\1/p' "$changelog")
Installed-Size: $(du -sk --exclude=DEBIAN "$root" | cut -f1)
Depends: $depends
Suggests: odbc-postgresql, odbc-mariadb, unixodbc
Section: database
Priority: optional
Description: consistency checks for the system tables of Tessel
 tabvet runs sixteen read-only consistency checks over the system tables of
 Tessel, the spatial-data middleware, on Oracle, SQL Server, DB2 and Informix,
 through ODBC: are the system tables there, do they agree with each other and
 with the user tables, and are the tables and indexes of compressed binary
 layers complete. It runs as a desktop window or headless for scheduled checks,
 and writes a plain-text report and JSON results.
 .
 It needs the ODBC driver of the DBMS it checks.
EOF
chmod 0644 "$root/DEBIAN/control" "$root/DEBIAN/md5sums"
dpkg-deb --root-owner-group -Zxz --build "$root" "$package" >/dev/null
echo "Debian package: $package"
