# Sourced by the package tests: the package unpacked into a temporary folder, and failures counted so that
# one run reports every one of them.

# needs FILE HOW: stops the test when FILE, built by HOW, is missing.
needs() {
    [ -f "$1" ] || { echo "no $1: build it with $2" >&2; exit 1; }
}

failures=0
fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

# finish MESSAGE: says MESSAGE and ends the test passed, or ends it failed after any failure.
finish() {
    [ "$failures" -eq 0 ] || exit 1
    echo "$1"
}

# unpack DEB: the package's files under $root, in $work (removed at the end unless the test sets its own
# EXIT trap); the program as $tabvet.
unpack() {
    work=$(mktemp -d /tmp/tabvet-package-test.XXXXXX)
    trap 'rm -rf "$work"' EXIT
    root=$work/root
    dpkg-deb -x "$1" "$root"
    tabvet=$root/usr/bin/tabvet
}
