#!/usr/bin/env bash
# Starts the main window under a virtual X server against the demo database, walks the four steps and saves a
# PNG of each tab into docs/screenshots (or the folder given as the first argument).
set -euo pipefail
cd "$(dirname "$0")/.."

out=${1:-docs/screenshots}
bash scripts/setup.sh

state=$(mktemp /tmp/tabvet-shots-state.XXXXXX)
cleanup() { bash scripts/pg_cluster.sh stop "$state"; }
trap cleanup EXIT
trap 'exit 130' INT TERM

bash scripts/pg_cluster.sh start "$state"
bash scripts/pg_cluster.sh createdb "$state" tsl tests/fixtures/tessel_schema.sql \
    tests/fixtures/oracle_dictionary.sql tests/fixtures/demo/demo_schema.sql
port=$(sed -n 's/^PGPORT=//p' "$state")
connection="Driver=PostgreSQL Unicode;Servername=127.0.0.1;Port=$port;Database=tsl;UID=tabvet;PWD=;"

export ODBCSYSINI="$PWD/tests/fixtures/odbc" ODBCINI="$PWD/tests/fixtures/odbc/odbc.ini"
mkdir -p "$out"
xvfb-run --auto-servernum --server-args="-screen 0 1024x768x24" \
    build/tests/gui/window_tour "$connection" "$out"
echo "screenshots written to $out"
