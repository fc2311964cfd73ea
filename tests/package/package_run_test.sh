#!/usr/bin/env bash
# The program as the package installs it, unpacked into a temporary root: a headless run over the demo
# schema gives what the build tree's program gives (exit status, status log, standard error, report, JSON,
# times masked), and without arguments it finds the package's own window module and opens the window on the
# offscreen platform.
# Usage: package_run_test.sh DEB BUILD_TABVET; needs TABVET_PG_STATE (the run's cluster).
set -euo pipefail
[ $# -eq 2 ] || { echo "usage: package_run_test.sh DEB BUILD_TABVET" >&2; exit 2; }
deb=$1 built=$2
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=package_common.sh
. "$here/package_common.sh"
# shellcheck source=../support/run_transcript.sh
. "$here/../support/run_transcript.sh"
needs "$deb" scripts/package.sh
unpack "$deb"

cleanup() {
    psql postgres "DROP DATABASE IF EXISTS package_demo WITH (FORCE)" || true
    rm -rf "$work"
}
trap cleanup EXIT

# The demo's schema: failures of several kinds, so the run writes more than a clean bill.
createdb package_demo tessel_schema.sql oracle_dictionary.sql demo/demo_schema.sql

# run NAME PROGRAM: one headless run, its transcript in $work/NAME.txt.
run() {
    local folder=$work/$1 status=0
    mkdir "$folder"
    TABVET_CONNECT=$(connect package_demo) "$2" --report "$folder/report.txt" --json "$folder/results.json" \
        >"$folder/out" 2>"$folder/err" </dev/null || status=$?
    transcript "$folder" "$status" >"$work/$1.txt"
}
run packaged "$tabvet"
run built "$built"
head -n 1 "$work/packaged.txt" | grep -qx 'exit 1' || fail "the demo run did not fail as it should: $(head -n 1 "$work/packaged.txt")"
diff -u "$work/built.txt" "$work/packaged.txt" || fail "the packaged program's run differs from the build tree's"

# The window: the package's module and the offscreen platform plugin both loaded (the loader names each
# file it loads), and the program still running seconds later (a module that fails to load ends it at once
# with status 2).
mkdir -m 700 "$work/home" "$work/runtime"
status=0
HOME=$work/home XDG_CONFIG_HOME=$work/home/.config XDG_RUNTIME_DIR=$work/runtime QT_QPA_PLATFORM=offscreen \
    LD_DEBUG=files timeout -k 2 8 "$tabvet" </dev/null >"$work/window.out" 2>"$work/window.err" || status=$?
module=$root/usr/lib/tabvet/libtabvet_main_window.so
if [ "$status" -ne 124 ] || ! grep -qF "file=$module " "$work/window.err" ||
    ! grep -q 'file=.*/libqoffscreen\.so ' "$work/window.err"; then
    fail "the window did not open from $module (exit $status):"
    grep -v '^ *[0-9]*:' "$work/window.err"
fi

finish "the unpacked package runs headless as the build does and opens its window"
