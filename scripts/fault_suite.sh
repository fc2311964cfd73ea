#!/usr/bin/env bash
# The long part of the fault suite; the short part runs with every `bash scripts/test.sh`. Stops the server
# before each statement of a run in turn, runs hostile names of 10,000 characters, runs an enormous LAYERS
# table and measures its memory, measures what the driver does with servers that stop answering, and fuzzes
# longer. Prints the figures at the end.
# Usage: fault_suite.sh [--long]
#   --long   also the 16-bit layer counter of the index analysis (about 5 minutes)
# TABVET_FUZZ_SECONDS sets the time per fuzz target (default 300).
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD

# A vanished host, measured inside a network namespace of its own: its loopback goes down under a run.
# Prints "<seconds> <exit status>" of a headless run over a catalogue that is still being read.
netns_vanished_host() {
    local extra=$1 limit=$2 work state port started status
    ip link set lo up
    work=$(mktemp -d /tmp/tabvet-netns.XXXXXX)
    state=$work/pg.state
    bash scripts/pg_cluster.sh start "$state" >/dev/null
    port=$(sed -n 's/^PGPORT=//p' "$state")
    sleepy_database "$state" netns_sleepy
    started=$(date +%s.%N)
    timeout "$limit" build/src/app/tabvet --connect "$(connection "$port" netns_sleepy)$extra" --dbms oracle \
        --tessel-version 9.0.0 >"$work/out" 2>"$work/err" &
    local run=$!
    sleep 2
    ip link set lo down
    status=0
    wait "$run" || status=$?
    ip link set lo up
    echo "$(elapsed_since "$started") $status"
    bash scripts/pg_cluster.sh stop "$state"
    rm -rf "$work"
}

elapsed_since() {
    awk -v now="$(date +%s.%N)" -v then="$1" 'BEGIN { printf "%.1f", now - then }'
}

connection() {
    echo "Driver=PostgreSQL Unicode;Servername=127.0.0.1;Port=$1;Database=$2;UID=tabvet;PWD=;"
}

# A catalogue whose LAYERS table takes half a second per row to read, so that a run is caught in a statement.
sleepy_database() {
    local state=$1 name=$2
    bash scripts/pg_cluster.sh createdb "$state" "$name" tests/fixtures/tessel_schema.sql \
        tests/fixtures/oracle_dictionary.sql tests/fixtures/demo/demo_schema.sql
    bash scripts/pg_cluster.sh psql "$state" "$name" -q -v ON_ERROR_STOP=1 -c \
        "ALTER TABLE tsl.layers RENAME TO layers_data;
         CREATE VIEW tsl.layers AS SELECT d.* FROM tsl.layers_data d, LATERAL (SELECT pg_sleep(0.5)) s;"
}

export ODBCSYSINI=$root/tests/fixtures/odbc
export ODBCINI=$root/tests/fixtures/odbc/odbc.ini

if [ "${1:-}" = "--netns-part" ]; then
    shift
    netns_vanished_host "$@"
    exit 0
fi
long=no
[ "${1:-}" = "--long" ] && long=yes
fuzz_seconds=${TABVET_FUZZ_SECONDS:-300}

bash scripts/setup.sh
work=$(mktemp -d /tmp/tabvet-faults.XXXXXX)
state=$work/pg.state
listener=""
cleanup() {
    [ -n "$listener" ] && kill "$listener" 2>/dev/null || true
    bash scripts/pg_cluster.sh stop "$state" || true
    rm -rf "$work"
}
trap cleanup EXIT
bash scripts/pg_cluster.sh start "$state" >/dev/null
port=$(sed -n 's/^PGPORT=//p' "$state")
psql_run() { bash scripts/pg_cluster.sh psql "$state" "$@"; }
section() { printf '\n== %s\n' "$*"; }
figures=()

section "Server stopped before each statement of a run in turn"
TABVET_PG_STATE=$state build/tests/integration/server_fault_run_integration_test --gtest_also_run_disabled_tests \
    --gtest_filter='*ServerStoppedBeforeEachStatementInTurn' --gtest_output="json:$work/sweep.json" | tail -n 3
stops=$(python3 -c 'import json,sys; t=json.load(open(sys.argv[1]))["testsuites"][0]["testsuite"][0]; print(t["faults_injected"])' "$work/sweep.json")
figures+=("server stops injected before single statements: $stops")

section "Hostile names of 10,000 characters in every name column, three layouts"
# The short hostile names run with every ctest (tests/fixtures/scenarios/hostile_*.txt); these long ones run
# here. Each run must finish and leave the database exactly as it was (compared as a whole dump, without the
# random key that pg_dump puts around it).
dump_sum() { pg_dump -h 127.0.0.1 -p "$port" -U tabvet "$1" | grep -v '^\\\(un\)\?restrict ' | md5sum; }
long_runs=0
for layout in oracle db2 sqlserver; do
    database=hostile_long_$layout
    files=(tests/fixtures/tessel_schema.sql tests/fixtures/oracle_dictionary.sql tests/fixtures/hostile/base.sql)
    [ "$layout" = sqlserver ] && files+=(tests/fixtures/layout_sqlserver.sql)
    bash scripts/pg_cluster.sh createdb "$state" "$database" "${files[@]}"
    for name in "repeat('W', 10000)" "repeat(U&'\\00DF', 10000)"; do
        psql_run "$database" -q -v ON_ERROR_STOP=1 -c "SELECT fixture_hostile_rows($name)" >/dev/null
        before=$(dump_sum "$database")
        status=0
        build/src/app/tabvet --connect "$(connection "$port" "$database")" --dbms "$layout" --tessel-version 9.0.0 \
            --database "$database" >"$work/out" 2>/dev/null || status=$?
        after=$(dump_sum "$database")
        [ "$status" -eq 1 ] && grep -q "Test run finished at" "$work/out" && [ "$before" = "$after" ] ||
            { echo "$layout, $name: exit $status, dump before $before, after $after"; exit 1; }
        long_runs=$((long_runs + 1))
    done
done
echo "$long_runs runs finished and changed nothing"
figures+=("hostile names of 10,000 characters: $long_runs runs, each finished and changed nothing")

section "An enormous LAYERS table: every row probed"
for rows in 10000 100000; do
    database=layers_$rows
    bash scripts/pg_cluster.sh createdb "$state" "$database" tests/fixtures/tessel_schema.sql \
        tests/fixtures/oracle_dictionary.sql tests/fixtures/healthy_version.sql
    psql_run "$database" -q -v ON_ERROR_STOP=1 -c \
        "CREATE SCHEMA gis; CREATE TABLE gis.roads (objectid integer, shape integer);
         INSERT INTO tsl.spatial_references (srid) VALUES (1); INSERT INTO tsl.dbtune (keyword) VALUES ('DEFAULTS');
         INSERT INTO tsl.layers (layer_id, description, owner, table_name, spatial_column, eflags, srid, layer_config)
         SELECT i, 'layer ' || i, 'GIS', 'ROADS', 'SHAPE', 0, 1, 'DEFAULTS' FROM generate_series(1, $rows) i;"
    status=0
    /usr/bin/time -f '%e %M' -o "$work/time" build/src/app/tabvet --connect "$(connection "$port" "$database")" \
        --dbms oracle --tessel-version 9.0.0 >"$work/out" 2>/dev/null || status=$?
    read -r seconds kilobytes < <(tail -n 1 "$work/time")  # time writes a line of its own for a failed command
    echo "$rows rows: exit $status, $seconds s, peak RSS $((kilobytes / 1024)) MB"
    [ "$status" -eq 0 ] || { echo "expected every test to pass"; exit 1; }
    [ "$kilobytes" -lt 262144 ] || { echo "peak RSS above 256 MB"; exit 1; }
    figures+=("LAYERS with $rows rows: $seconds s, peak RSS $((kilobytes / 1024)) MB")
done

if [ "$long" = yes ]; then
    section "40,000 compressed-binary layers: the index analysis's 16-bit layer counter"
    bash scripts/pg_cluster.sh createdb "$state" layers_cb tests/fixtures/tessel_schema.sql \
        tests/fixtures/oracle_dictionary.sql tests/fixtures/healthy_version.sql
    psql_run layers_cb -q -v ON_ERROR_STOP=1 -c \
        "INSERT INTO tsl.layers (layer_id, owner, table_name, spatial_column, eflags, srid, layer_config)
         SELECT i, 'GIS', 'T' || i, 'SHAPE', 16777216, 1, 'DEFAULTS' FROM generate_series(1, 40000) i;
         INSERT INTO tsl.table_registry (registration_id, table_name, owner, rowid_column, object_flags, config_keyword)
         SELECT i, 'T' || i, 'GIS', 'OBJECTID', 0, 'DEFAULTS' FROM generate_series(1, 40000) i;"
    status=0
    /usr/bin/time -f '%e %M' -o "$work/time" build/src/app/tabvet --connect "$(connection "$port" layers_cb)" \
        --dbms oracle --tessel-version 9.0.0 >/dev/null 2>"$work/err" || status=$?
    read -r seconds kilobytes < <(tail -n 1 "$work/time")  # time writes a line of its own for a failed command
    tail -n 1 "$work/err"
    grep -q "Run-time error '6': Overflow" "$work/err" && [ "$status" -eq 3 ] ||
        { echo "expected the run to end with Overflow at layer 32768"; exit 1; }
    figures+=("40,000 compressed-binary layers: Overflow at layer 32768 after $seconds s, peak RSS $((kilobytes / 1024)) MB")
fi

section "Servers that stop answering"
python3 -c 'import socket, time
s = socket.socket(); s.bind(("127.0.0.1", 0)); s.listen(8)
print(s.getsockname()[1], flush=True); time.sleep(3600)' >"$work/listener" &
listener=$!
sleep 1
silent=$(cat "$work/listener")
status=0
timeout 60 build/src/app/tabvet --connect "$(connection "$silent" x)" --dbms oracle --tessel-version 9.0.0 \
    >/dev/null 2>&1 || status=$?
echo "accepting but silent server, driver defaults: exit $status after 60 s (124: still waiting)"
figures+=("silent server, driver defaults: still connecting after 60 s")
start=$(date +%s.%N)
status=0
timeout 60 build/src/app/tabvet --connect "$(connection "$silent" x)pqopt={connect_timeout=5};" --dbms oracle \
    --tessel-version 9.0.0 >/dev/null 2>"$work/err" || status=$?
took=$(elapsed_since "$start")
echo "same with pqopt={connect_timeout=5}: exit $status after $took s: $(grep -o 'timeout expired' "$work/err" | head -n 1)"
figures+=("silent server with the driver's connect_timeout=5: error box after $took s")
kill "$listener"
listener=""

sleepy_database "$state" frozen
build/src/app/tabvet --connect "$(connection "$port" frozen)" --dbms oracle --tessel-version 9.0.0 \
    >"$work/out" 2>&1 &
run=$!
sleep 2
backend=$(psql_run postgres -At -c "SELECT pid FROM pg_stat_activity WHERE datname = 'frozen' AND pid <> pg_backend_pid()")
kill -STOP "$backend"
sleep 30
if kill -0 "$run" 2>/dev/null; then waiting=yes; else waiting=no; fi
kill -CONT "$backend"
status=0
wait "$run" || status=$?
echo "server process frozen for 30 s mid-statement: still waiting $waiting; after it resumed the run ended with exit $status"
grep -q "Test run finished at" "$work/out" || { echo "the run did not finish after the server resumed"; exit 1; }
figures+=("frozen server process: tabvet waits, invents no error, and finishes when it resumes")

if unshare -n true 2>/dev/null; then
    # The host goes away while a statement runs: nothing is left unacknowledged, so only keepalives notice.
    bounds="pqopt={tcp_user_timeout=10000 keepalives_idle=5 keepalives_interval=2 keepalives_count=2};"
    read -r took status < <(unshare -n bash "$0" --netns-part "$bounds" 120)
    echo "vanished host with $bounds: lost-connection errors after $took s, exit $status"
    [ "$status" -eq 1 ] || { echo "expected the run to finish with failed tests"; exit 1; }
    figures+=("vanished host mid-statement with the driver's keepalives and tcp_user_timeout: reported after $took s")
else
    echo "no network namespaces here: the vanished host is not measured"
fi

section "Fuzzing, $fuzz_seconds s per target"
env -u TABVET_FUZZ_SECONDS bash scripts/sanitizers.sh --build-only >/dev/null
for target in connection_string version_text baseline; do
    corpus=build-asan/tests/fuzz/corpus/$target
    mkdir -p "$corpus"
    build-asan/tests/fuzz/${target}_fuzzer -max_total_time="$fuzz_seconds" -timeout=10 -rss_limit_mb=2048 \
        -max_len=70000 -artifact_prefix="build-asan/tests/fuzz/${target}_fuzzer-" "$corpus" \
        "tests/fuzz/corpus/$target" 2>"$work/fuzz.log" || { tail -n 30 "$work/fuzz.log"; exit 1; }
    done_line=$(grep '^Done' "$work/fuzz.log")
    echo "$target: $done_line"
    figures+=("fuzzing $target: $done_line")
done

section "Figures"
printf '%s\n' "${figures[@]}"
