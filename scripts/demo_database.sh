# Sourced by the demo and the screenshot walk: starts a throwaway cluster holding the sample Tessel schema
# (Oracle layout) and sets $connection. The cluster is removed when the calling script ends, whether it
# succeeds, fails or is interrupted.

demo_state=$(mktemp /tmp/tabvet-demo-state.XXXXXX)
demo_cleanup() { bash scripts/pg_cluster.sh stop "$demo_state"; }
trap demo_cleanup EXIT
trap 'exit 130' INT TERM

bash scripts/pg_cluster.sh start "$demo_state"
bash scripts/pg_cluster.sh createdb "$demo_state" tsl tests/fixtures/tessel_schema.sql \
    tests/fixtures/oracle_dictionary.sql tests/fixtures/demo/demo_schema.sql
demo_port=$(sed -n 's/^PGPORT=//p' "$demo_state")
connection="Driver=PostgreSQL Unicode;Servername=127.0.0.1;Port=$demo_port;Database=tsl;UID=tabvet;PWD=;"

# The drivers as the system registers them, minus the driver's communication log in /tmp.
export ODBCSYSINI="$PWD/tests/fixtures/odbc" ODBCINI="$PWD/tests/fixtures/odbc/odbc.ini"
