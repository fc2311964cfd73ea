#!/usr/bin/env bash
# A throwaway PostgreSQL cluster on 127.0.0.1 for tests and the demo: start, stop, load databases, run psql.
# Usage: pg_cluster.sh start|stop|stop-server|start-server STATEFILE | createdb STATEFILE NAME FILE... | psql STATEFILE DB [ARGS...]
set -euo pipefail
unset PGDIR PGPORT PGBIN  # only the state file may say which cluster is meant
SERVER_SCRIPT=pg_cluster
SERVER_USER=postgres
# shellcheck source=server_common.sh
. "$(dirname "$0")/server_common.sh"

# Debian keeps each major version apart; the newest installed one is used.
find_pg_bin() {
    local dir
    dir=$(ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -t/ -k5,5n | tail -n 1 || true)
    if [ -n "$dir" ] && [ -x "$dir/initdb" ]; then
        echo "$dir"
    elif command -v initdb >/dev/null 2>&1; then
        dirname "$(command -v initdb)"
    else
        die "no PostgreSQL server binaries found (install postgresql)"
    fi
}

load_state() {
    local state=$1
    [ -f "$state" ] || die "no cluster state file at $state"
    # shellcheck disable=SC1090
    . "$state"
    [ -n "${PGDIR:-}" ] && [ -n "${PGPORT:-}" ] && [ -n "${PGBIN:-}" ] || die "incomplete state file $state"
}

# Starts the server on the given port.
try_start() {
    local port=$1
    as_server_user "$PGBIN/pg_ctl" -D "$PGDIR/data" -l "$PGDIR/server.log" -w -t 30 \
        -o "-p $port" start >/dev/null 2>&1
}

cmd_start() {
    local state=$1
    [ -f "$state" ] && cmd_stop "$state"  # a run that was cut short leaves its cluster behind
    PGBIN=$(find_pg_bin)
    PGDIR=$(mktemp -d /tmp/tabvet-pg.XXXXXX)
    chmod 755 "$PGDIR"
    if [ "$(id -u)" -eq 0 ]; then
        chown postgres:postgres "$PGDIR"
    fi
    if ! as_server_user "$PGBIN/initdb" -D "$PGDIR/data" -U tabvet --auth=trust --encoding=UTF8 \
        --locale=C.UTF-8 --no-sync >"$PGDIR/initdb.log" 2>&1; then
        cat "$PGDIR/initdb.log" >&2
        rm -rf "$PGDIR"
        die "initdb failed"
    fi
    # Members of tabvet_password_login must give a password, so that tests can tell a password reached the server.
    as_server_user sed -i '/^# TYPE/a host all +tabvet_password_login 127.0.0.1/32 scram-sha-256' \
        "$PGDIR/data/pg_hba.conf"
    as_server_user tee -a "$PGDIR/data/postgresql.conf" >/dev/null <<EOF
listen_addresses = '127.0.0.1'
unix_socket_directories = '$PGDIR'
fsync = off
synchronous_commit = off
full_page_writes = off
EOF
    local port
    port=$(start_on_free_port "$PGDIR" "$PGDIR/server.log")
    # Restarts (fault tests) must come back on the same port.
    echo "port = $port" | as_server_user tee -a "$PGDIR/data/postgresql.conf" >/dev/null
    cat >"$state" <<EOF
PGDIR=$PGDIR
PGPORT=$port
PGHOST=127.0.0.1
PGUSER=tabvet
PGBIN=$PGBIN
EOF
    echo "PostgreSQL cluster on 127.0.0.1:$port in $PGDIR"
}

cmd_stop() {
    local state=$1
    [ -f "$state" ] || return 0
    # shellcheck disable=SC1090
    . "$state" || true
    if [ -n "${PGDIR:-}" ] && [ -d "$PGDIR/data" ]; then
        as_server_user "$PGBIN/pg_ctl" -D "$PGDIR/data" -m immediate -w stop >/dev/null 2>&1 || true
    fi
    case "${PGDIR:-}" in
        /tmp/tabvet-pg.*) remove_server_folder "$PGDIR" ;;
    esac
    rm -f "$state"
}

cmd_stop_server() {
    load_state "$1"
    as_server_user "$PGBIN/pg_ctl" -D "$PGDIR/data" -m fast -w stop >/dev/null
}

cmd_start_server() {
    load_state "$1"
    as_server_user "$PGBIN/pg_ctl" -D "$PGDIR/data" -l "$PGDIR/server.log" -w -t 30 start >/dev/null
}

run_psql() {
    local db=$1
    shift
    PGCONNECT_TIMEOUT=10 "$PGBIN/psql" -X -h 127.0.0.1 -p "$PGPORT" -U tabvet -d "$db" "$@"
}

cmd_createdb() {
    local state=$1 name=$2
    shift 2
    load_state "$state"
    # psql interpolates :"db" as a quoted identifier, so any name is safe here.
    export PGOPTIONS="-c client_min_messages=warning"  # no "does not exist, skipping" notices
    printf 'DROP DATABASE IF EXISTS :"db" WITH (FORCE);\nCREATE DATABASE :"db";\n' |
        run_psql postgres -v ON_ERROR_STOP=1 -q -v db="$name"
    local args=() file
    for file in "$@"; do
        [ -f "$file" ] || die "no SQL file $file"
        args+=(-f "$file")
    done
    if [ ${#args[@]} -gt 0 ]; then
        run_psql "$name" -v ON_ERROR_STOP=1 -q "${args[@]}"
    fi
}

main() {
    [ $# -ge 2 ] || die "usage: pg_cluster.sh start|stop|stop-server|start-server|createdb|psql STATEFILE ..."
    local command=$1
    shift
    case "$command" in
        start) cmd_start "$1" ;;
        stop) cmd_stop "$1" ;;
        stop-server) cmd_stop_server "$1" ;;
        start-server) cmd_start_server "$1" ;;
        createdb)
            [ $# -ge 2 ] || die "usage: pg_cluster.sh createdb STATEFILE NAME [FILE...]"
            cmd_createdb "$@"
            ;;
        psql)
            [ $# -ge 2 ] || die "usage: pg_cluster.sh psql STATEFILE DB [ARGS...]"
            load_state "$1"
            local db=$2
            shift 2
            run_psql "$db" "$@"
            ;;
        *) die "unknown command $command" ;;
    esac
}

main "$@"
