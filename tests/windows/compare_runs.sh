#!/usr/bin/env bash
# TABVET_KEEP_RUNS=1 keeps the folder of transcripts (<name>.linux, <name>.windows).
# Headless runs of tabvet.exe under Wine, each compared with the same run of the Linux tabvet: exit status,
# status log, standard error, report and JSON, with times masked and each platform's run folder named
# <folder>. The Windows report is in the ANSI code page (1252 here): it is compared after conversion, with
# "?" where the Linux report holds a character that page lacks.
# Usage: compare_runs.sh WINEPREFIX TABVET_EXE LINUX_TABVET; needs TABVET_PG_STATE (the run's cluster).
set -euo pipefail

[ $# -eq 3 ] || { echo "usage: compare_runs.sh WINEPREFIX TABVET_EXE LINUX_TABVET" >&2; exit 2; }
prefix=$1 exe=$2 linux=$3
here=$(cd "$(dirname "$0")" && pwd)
fixtures=$here/../fixtures
cluster="bash $here/../../scripts/pg_cluster.sh"
state=${TABVET_PG_STATE:?the run\'s cluster state file (ctest sets it)}
[ -f "$exe" ] || { echo "compare_runs.sh: no $exe: build it with scripts/windows.sh" >&2; exit 1; }

work=$(mktemp -d /tmp/tabvet-wine-runs.XXXXXX)
lock_pid=
cleanup() {
    if [ -n "$lock_pid" ]; then
        psql postgres "SELECT count(pg_terminate_backend(pid)) FROM pg_stat_activity WHERE query LIKE 'BEGIN; LOCK%'" ||
            true
        kill "$lock_pid" 2>/dev/null || true
    fi
    [ -n "${TABVET_KEEP_RUNS:-}" ] || rm -rf "$work"
}
trap cleanup EXIT
mkdir -p "$work/linux" "$work/windows"
# The Windows program sees the same folder through drive Z:.
windows_folder="Z:${work//\//\\}\\windows"

port=$(sed -n 's/^PGPORT=//p' "$state")
connect() { echo "Driver=PostgreSQL Unicode;Servername=127.0.0.1;Port=$port;Database=$1;UID=tabvet;PWD=;"; }
createdb() {
    local name=$1
    shift
    $cluster createdb "$state" "$name" "${@/#/$fixtures/}" >/dev/null
}
psql() { $cluster psql "$state" "$1" -v ON_ERROR_STOP=1 -q -c "$2" >/dev/null; }

referential=(tessel_schema.sql referential/user_tables.sql referential/healthy.sql)
createdb win_healthy "${referential[@]}"
createdb win_orphans "${referential[@]}" referential/orphans.sql
createdb win_nullowner "${referential[@]}"
psql win_nullowner "UPDATE tsl.layers SET owner = NULL WHERE layer_id = 2"
# Names outside ASCII: É is in code page 1252, Ж is not.
createdb win_intl "${referential[@]}"
psql win_intl "INSERT INTO tsl.table_registry (registration_id, table_name, owner, database_name, rowid_column,
    description, object_flags, config_keyword) VALUES (8, 'CAFÉ_Ж', 'GIS', 'WIN_INTL', 'OBJECTID', 'Café', 0,
    'DEFAULTS')"
createdb win_detect_db2 tessel_schema.sql
psql win_detect_db2 "INSERT INTO tsl.version VALUES (9, 1, 2, 0, 'Tessel 9.1 for IBM DB2 UDB')"
createdb win_detect_mss tessel_schema.sql layout_sqlserver.sql
psql win_detect_mss "INSERT INTO tsl.tsl_version VALUES (9, 1, 2, 0, 'Tessel for SQL Server 2000')"
createdb win_detect_ora tessel_schema.sql healthy_version.sql

unset DISPLAY WAYLAND_DISPLAY TABVET_CONNECT

# Masks what may differ between two runs and between the two systems: times, durations, the run folder.
mask() {
    local folder=$1
    local text
    text=$(cat)
    text=${text//"$folder"/<folder>}
    printf '%s\n' "$text" | sed -E \
        -e 's#(started|finished|stopped) at [0-9./-]+ [0-9]{1,2}(:[0-9]{2})+( [AP]M)?#\1 at <time>#' \
        -e 's#^Generated: .*#Generated: <time>#' \
        -e 's#"(started|finished)": "[^"]*"#"\1": "<time>"#' \
        -e 's#"durationMs": [0-9.]+#"durationMs": <ms>#'
}

# transcript SYSTEM FOLDER_AS_GIVEN: what one run left, after it ran with its outputs in $work/SYSTEM.
transcript() {
    local system=$1 folder=$2 status=$3
    echo "exit $status"
    echo "--- standard output"
    mask "$folder" <"$work/$system.out"
    echo "--- standard error"
    mask "$folder" <"$work/$system.err"
    local file
    for file in "$work/$system"/*; do
        [ -f "$file" ] || continue
        echo "--- file ${file##*/}"
        if [[ $file == *.json ]]; then
            mask "$folder" <"$file"
        elif [ "$system" = windows ]; then
            iconv -f CP1252 -t UTF-8 "$file" | mask "$folder"
        else
            sed 's/Ж/?/g' "$file" | mask "$folder"
        fi
    done
}

failures=0
runs=0
# compare NAME [ARGUMENTS...]: {report}, {json} and {folder} become each system's own paths, {db:NAME} a
# connection string. STDIN_TEXT, when set, is the run's standard input; SIGNAL_AFTER sends SIGINT then.
compare() {
    local name=$1
    shift
    runs=$((runs + 1))
    rm -rf "$work/linux" "$work/windows"
    mkdir -p "$work/linux" "$work/windows"
    local system folder separator status
    for system in linux windows; do
        if [ "$system" = linux ]; then
            folder=$work/linux separator=/
        else
            folder=$windows_folder separator=\\
        fi
        local args=() arg
        for arg in "$@"; do
            arg=${arg//\{report\}/$folder${separator}report.txt}
            arg=${arg//\{json\}/$folder${separator}results.json}
            arg=${arg//\{folder\}/$folder}
            if [[ $arg =~ \{db:([a-z0-9_]+)\} ]]; then
                arg=${arg//"${BASH_REMATCH[0]}"/$(connect "${BASH_REMATCH[1]}")}
            fi
            args+=("$arg")
        done
        local command=("$linux")
        [ "$system" = linux ] || command=(bash "$here/wine.sh" run "$prefix" "$exe")
        "${command[@]}" "${args[@]}" <<<"${STDIN_TEXT:-}" >"$work/$system.out" 2>"$work/$system.err" &
        local pid=$!
        [ -z "${SIGNAL_AFTER:-}" ] || { sleep "$SIGNAL_AFTER" && kill -INT "$pid"; }
        status=0
        wait "$pid" || status=$?
        transcript "$system" "$folder" "$status" >"$work/$name.$system"
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
compare failures --connect {db:win_orphans} --dbms oracle --tessel-version 9.1.0 --report {report} \
    --only-failures --json {json} --database=tsl
compare escape --connect {db:win_nullowner} --dbms oracle --tessel-version 9.1.0 --report {report} --json {json}
compare no-test-applies --connect {db:win_healthy} --dbms oracle --tessel-version 7.0.0 --report {report}
compare names-outside-ascii --connect {db:win_intl} --dbms oracle --tessel-version 9.1.0 --report {report} \
    --json {json}
compare detection-db2 --connect {db:win_detect_db2} --database win_detect_db2 --report {report} --json {json}
compare detection-sqlserver --connect {db:win_detect_mss} --database win_detect_mss --report {report}
compare detection-oracle --connect {db:win_detect_ora} --json {json}
compare chosen-checks --connect {db:win_orphans} --dbms oracle --tessel-version 9.1.0 --check 1,2,layers \
    --skip "index analysis" --json {json}
compare list-checks --list-checks
compare help --help
compare version --version
compare bad-argument --connect {db:win_healthy} --dbms access
compare bad-check --connect {db:win_healthy} --check 99
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
