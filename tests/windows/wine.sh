#!/usr/bin/env bash
# Runs the cross-built Windows programs under Wine for the test suite, in a private Wine prefix.
# Usage: wine.sh start PREFIX | stop PREFIX | run PREFIX EXE [ARGS...] | gtest PREFIX EXE [ARGS...]
# start creates the prefix when it is missing and keeps one Wine server up for the whole test run; stop ends
# the server and every Windows process of the prefix. Wine's background processes get no output stream of
# the caller, or ctest would wait for them. gtest passes only when the executable ran and its output says so:
# a missing DLL also exits non-zero, and a wrong exit status alone says nothing.
set -euo pipefail

die() {
    echo "wine.sh: $*" >&2
    exit 1
}

[ $# -ge 2 ] || die "usage: wine.sh start|stop|run|gtest PREFIX ..."
command=$1
export WINEPREFIX=$2
shift 2

wine_dir=/usr/lib/wine
[ -x "$wine_dir/wine64" ] || die "Wine is missing ($wine_dir/wine64); install wine64 (scripts/setup.sh does)"
export WINEDEBUG=-all
# No downloads of Mono or Gecko, no prompts for them: nothing here needs .NET or HTML.
export WINEDLLOVERRIDES="mscoree,mshtml="
# The display is not needed; an inherited one would only slow Wine down.
unset DISPLAY WAYLAND_DISPLAY

case "$command" in
    start)
        "$wine_dir/wineserver" -k >/dev/null 2>&1 || true  # a run that was cut short leaves its server behind
        if [ ! -f "$WINEPREFIX/system.reg" ]; then
            mkdir -p "$WINEPREFIX"
            "$wine_dir/wine64" wineboot --init </dev/null >/dev/null 2>&1 || die "wineboot failed in $WINEPREFIX"
        fi
        "$wine_dir/wineserver" --persistent </dev/null >/dev/null 2>&1 &
        # Starts the prefix's services now, with their output sent nowhere, so that no test's wine64 starts
        # them with the test's own output.
        "$wine_dir/wine64" cmd /c exit </dev/null >/dev/null 2>&1 || die "Wine does not run in $WINEPREFIX"
        echo "Wine server up for $WINEPREFIX"
        ;;
    stop)
        "$wine_dir/wineserver" -k >/dev/null 2>&1 || true
        "$wine_dir/wineserver" -w >/dev/null 2>&1 || true
        ;;
    run)
        exec "$wine_dir/wine64" "$@"
        ;;
    gtest)
        [ -f "$1" ] || die "no $1: build the Windows programs first (bash scripts/windows.sh)"
        output=$(mktemp)
        trap 'rm -f "$output"' EXIT
        status=0
        # TABVET_WINE_LOCALE: the locale Wine takes its code pages from, for the program alone.
        env ${TABVET_WINE_LOCALE:+LC_ALL="$TABVET_WINE_LOCALE"} "$wine_dir/wine64" "$@" >"$output" 2>&1 || status=$?
        cat "$output"
        grep -q '^\[  PASSED  \] [0-9]' "$output" || die "$(basename "$1") did not report its tests as passed"
        ! grep -q '^\[  FAILED  \]' "$output" || die "$(basename "$1") reported failed tests"
        [ "$status" -eq 0 ] || die "$(basename "$1") exited with status $status"
        ;;
    *) die "unknown command $command" ;;
esac
