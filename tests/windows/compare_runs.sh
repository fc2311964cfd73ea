#!/usr/bin/env bash
# Headless runs of tabvet.exe under Wine, each compared with the same run of the Linux tabvet: exit status,
# status log, standard error, report and JSON, with times masked and each platform's run folder named
# <folder>. The runs are those that reach code of the Windows build's own (encodings, command line,
# environment, standard streams, signals, file paths) and one of each outcome. The Windows report is in the
# ANSI code page (1252 here): it is compared after conversion, with "?" where the Linux report holds a
# character that page lacks. TABVET_KEEP_RUNS=1 keeps the folder of transcripts (<name>.linux, <name>.windows).
# Usage: compare_runs.sh WINEPREFIX TABVET_EXE LINUX_TABVET; needs TABVET_PG_STATE (the run's cluster).
set -euo pipefail

[ $# -eq 3 ] || { echo "usage: compare_runs.sh WINEPREFIX TABVET_EXE LINUX_TABVET" >&2; exit 2; }
prefix=$1 exe=$2 linux=$3
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=../support/run_transcript.sh
. "$here/../support/run_transcript.sh"
[ -f "$exe" ] || { echo "compare_runs.sh: no $exe: build it with scripts/windows.sh" >&2; exit 1; }

work=$(mktemp -d /tmp/tabvet-wine-runs.XXXXXX)
lock_pid=
cleanup() {
    if [ -n "$lock_pid" ]; then
        psql win_healthy "SELECT count(pg_terminate_backend(pid)) FROM pg_stat_activity
            WHERE query LIKE 'BEGIN; LOCK%' AND datname = current_database()" || true
        kill "$lock_pid" 2>/dev/null || true
    fi
    [ -n "${TABVET_KEEP_RUNS:-}" ] || rm -rf "$work"
}
trap cleanup EXIT

referential=(tessel_schema.sql referential/user_tables.sql referential/healthy.sql)
createdb win_healthy "${referential[@]}"
createdb win_orphans "${referential[@]}" referential/orphans.sql
# Names outside ASCII: É is in code page 1252, Ж is not.
createdb win_intl "${referential[@]}"
psql win_intl "INSERT INTO tsl.table_registry (registration_id, table_name, owner, database_name, rowid_column,
    description, object_flags, config_keyword) VALUES (8, 'CAFÉ_Ж', 'GIS', 'WIN_INTL', 'OBJECTID', 'Café', 0,
    'DEFAULTS')"
createdb win_detect_db2 tessel_schema.sql
psql win_detect_db2 "INSERT INTO tsl.version VALUES (9, 1, 2, 0, 'Tessel 9.1 for IBM DB2 UDB')"

unset DISPLAY WAYLAND_DISPLAY TABVET_CONNECT
linux_report() { sed 's/Ж/?/g'; }
windows_report() { iconv -f CP1252 -t UTF-8; }

failures=0
runs=0
# compare NAME [ARGUMENTS...]: {report}, {json} and {folder} become each system's own paths, {db:NAME} a
# connection string. STDIN_TEXT, when set, is the run's standard input; SIGNAL_AFTER sends SIGINT then.
compare() {
    local name=$1 system folder given separator status pid arg args command
    shift
    runs=$((runs + 1))
    for system in linux windows; do
        folder=$work/$system given=$work/$system separator=/ command=("$linux")
        if [ "$system" = windows ]; then
            given="Z:${folder//\//\\}" separator=\\ command=(bash "$here/wine.sh" run "$prefix" "$exe")
        fi
        rm -rf "$folder"
        mkdir "$folder"
        args=()
        for arg in "$@"; do
            arg=${arg//\{report\}/$given${separator}report.txt}
            arg=${arg//\{json\}/$given${separator}results.json}
            arg=${arg//\{folder\}/$given}
            if [[ $arg =~ \{db:([a-z0-9_]+)\} ]]; then
                arg=${arg//"${BASH_REMATCH[0]}"/$(connect "${BASH_REMATCH[1]}")}
            fi
            args+=("$arg")
        done
        "${command[@]}" "${args[@]}" <<<"${STDIN_TEXT:-}" >"$folder/out" 2>"$folder/err" &
        pid=$!
        [ -z "${SIGNAL_AFTER:-}" ] || { sleep "$SIGNAL_AFTER" && kill -INT "$pid"; }
        status=0
        wait "$pid" || status=$?
        transcript "$folder" "$status" "${system}_report" >"$work/$name.$system"
    done
    if diff -u "$work/$name.linux" "$work/$name.windows" >"$work/diff"; then
        echo "same: $name"
    else
        failures=$((failures + 1))
        echo "DIFFERENT: $name"
        head -n 40 "$work/diff"
    fi
}

compare healthy --connect {db:win_healthy} --dbms oracle --tessel-version 9.1.0 --report {report} --json {json}
compare names-outside-ascii --connect {db:win_intl} --dbms oracle --tessel-version 9.1.0 --report {report} \
    --json {json}
compare detection-db2 --connect {db:win_detect_db2} --database win_detect_db2 --report {report} --json {json}
compare help --help
compare bad-argument --connect {db:win_healthy} --dbms access
compare no-such-database --connect {db:win_no_such_database} --dbms oracle --tessel-version 9.1.0
compare report-name-outside-ascii --connect {db:win_orphans} --dbms oracle --tessel-version 9.1.0 \
    --report "{folder}/Prüfung Ж.txt"
compare unwritable-report --connect {db:win_healthy} --report {folder}/missing/r.txt
STDIN_TEXT=$(connect win_healthy) compare connect-from-standard-input --connect - --dbms db2 \
    --tessel-version 9.1.0 --report {report}
TABVET_CONNECT=$(connect win_orphans) compare connect-from-environment --dbms oracle --tessel-version 9.1.0
printf '%s\n' "$(connect win_healthy)" >"$work/connect.txt"
chmod 600 "$work/connect.txt"
compare connect-file --connect-file {folder}/../connect.txt --dbms oracle --tessel-version 9.1.0

# A lock held by another session blocks the run at LAYERS: the time limit and Ctrl+C (SIGINT, which Wine
# hands to the program as a console Ctrl+C) both stop it with exit 4, the report holding what completed.
$cluster psql "$state" win_healthy -q -c \
    "BEGIN; LOCK TABLE tsl.layers IN ACCESS EXCLUSIVE MODE; SELECT pg_sleep(300)" >/dev/null 2>&1 &
lock_pid=$!
sleep 1
compare time-limit --connect {db:win_healthy} --dbms oracle --tessel-version 9.1.0 --time-limit 2 \
    --report {report} --json {json}
SIGNAL_AFTER=3 compare ctrl-c --connect {db:win_healthy} --dbms oracle --tessel-version 9.1.0 \
    --report {report} --json {json}

# Without arguments the Windows program has no window to open: it says so, exit 2.
runs=$((runs + 1))
status=0
bash "$here/wine.sh" run "$prefix" "$exe" >"$work/no-window.out" 2>"$work/no-window.err" </dev/null || status=$?
if [ "$status" -ne 2 ] || [ -s "$work/no-window.out" ] || [ "$(cat "$work/no-window.err")" != \
    "tabvet: this build has no main window; use the headless mode (tabvet --help)" ]; then
    failures=$((failures + 1))
    echo "WRONG: no-window: exit $status, error output:" && cat "$work/no-window.err"
fi

echo "$((runs - failures)) passed, $failures failed"
[ "$failures" -eq 0 ]
