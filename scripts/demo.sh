#!/usr/bin/env bash
# Runs tabvet headless against a sample Tessel schema (Oracle layout) in a throwaway PostgreSQL cluster.
# The cluster is removed when the demo ends, whether it succeeds, fails or is interrupted.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh

state=$(mktemp /tmp/tabvet-demo-state.XXXXXX)
cleanup() { bash scripts/pg_cluster.sh stop "$state"; }
trap cleanup EXIT
trap 'exit 130' INT TERM

bash scripts/pg_cluster.sh start "$state"
bash scripts/pg_cluster.sh createdb "$state" tsl tests/fixtures/tessel_schema.sql \
    tests/fixtures/oracle_dictionary.sql tests/fixtures/demo/demo_schema.sql
port=$(sed -n 's/^PGPORT=//p' "$state")
connection="Driver=PostgreSQL Unicode;Servername=127.0.0.1;Port=$port;Database=tsl;UID=tabvet;PWD=;"
echo "Connection string: $connection"

# The drivers as the system registers them, minus the driver's communication log in /tmp.
export ODBCSYSINI="$PWD/tests/fixtures/odbc" ODBCINI="$PWD/tests/fixtures/odbc/odbc.ini"
tabvet=build/src/app/tabvet
if [ ! -x "$tabvet" ]; then
    echo "demo: $tabvet was not built" >&2
    exit 2
fi
# The report and the JSON results stay after the demo, for reading at leisure.
results=$(mktemp -d /tmp/tabvet-demo-results.XXXXXX)
report="$results/Tessel_Diag.txt"
json="$results/results.json"
status=0
# No --dbms or --tessel-version: tabvet reads both from the VERSION table, as "Query DBMS" does.
"$tabvet" --connect "$connection" --report "$report" --json "$json" || status=$?
echo "tabvet exit status: $status (0 all passed, 1 a test failed, 2 could not start, 3 unexpected error)"
for file in "$report" "$json"; do
    if [ -s "$file" ]; then
        echo "Written: $file"
    else
        echo "demo: $file was not written" >&2
        status=2
    fi
done
# The sample schema is broken on purpose, so failed tests are the expected outcome of the demo.
[ "$status" -le 1 ]
