#!/usr/bin/env bash
# Runs tabvet headless against a sample Tessel schema (Oracle layout) in a throwaway PostgreSQL cluster.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh

source scripts/demo_database.sh
echo "Connection string: $connection"

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
echo "tabvet exit status: $status (0 all passed, 1 a test failed, 2 could not start, 3 unexpected error, 4 stopped)"
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
