#!/usr/bin/env bash
# A throwaway MariaDB server on 127.0.0.1 for the tests of the second ODBC driver: start, stop, run SQL.
# Usage: mariadb_cluster.sh start|stop STATEFILE | sql STATEFILE [CLIENT-ARGS...] (statements on stdin or -e)
# Never touches the system's own server: its data directory, socket, port and log are all under /tmp.
set -euo pipefail
unset MYDIR MYPORT  # only the state file may say which server is meant
SERVER_SCRIPT=mariadb_cluster
SERVER_USER=mysql
# shellcheck source=server_common.sh
. "$(dirname "$0")/server_common.sh"

load_state() {
    local state=$1
    [ -f "$state" ] || die "no server state file at $state"
    # shellcheck disable=SC1090
    . "$state"
    [ -n "${MYDIR:-}" ] && [ -n "${MYPORT:-}" ] || die "incomplete state file $state"
}

client() {
    mariadb --no-defaults --socket="$MYDIR/socket" --user=root --default-character-set=utf8mb4 "$@"
}

# Names behave as on the target systems (see docs/drivers.md for why each setting is there); the rest
# makes a small, fast server that keeps nothing safe, as nothing in it needs to survive a crash.
write_config() {
    cat >"$MYDIR/my.cnf" <<EOF
[mariadbd]
datadir=$MYDIR/data
socket=$MYDIR/socket
pid-file=$MYDIR/server.pid
log-error=$MYDIR/server.log
bind-address=127.0.0.1
port=$1
lower_case_table_names=1
sql_mode=ANSI_QUOTES,NO_BACKSLASH_ESCAPES,STRICT_ALL_TABLES,NO_ENGINE_SUBSTITUTION
character_set_server=utf8mb4
collation_server=utf8mb4_nopad_bin
skip-name-resolve
skip-log-bin
local-infile=0
performance_schema=OFF
innodb_buffer_pool_size=32M
innodb_log_file_size=16M
innodb_flush_log_at_trx_commit=0
innodb_doublewrite=0
innodb_flush_method=nosync
innodb_stats_auto_recalc=OFF
sync_frm=OFF
innodb_file_per_table=OFF
EOF
}

# Starts the server on the given port and waits until it answers.
try_start() {
    write_config "$1"
    as_server_user mariadbd --defaults-file="$MYDIR/my.cnf" >/dev/null 2>&1 </dev/null &
    local pid=$! attempt
    for attempt in $(seq 1 300); do
        if client --connect-timeout=2 -e 'SELECT 1' >/dev/null 2>&1; then
            return 0
        fi
        kill -0 "$pid" 2>/dev/null || return 1
        sleep 0.1
    done
    kill "$pid" 2>/dev/null || true
    return 1
}

cmd_start() {
    local state=$1
    [ -f "$state" ] && cmd_stop "$state"  # a run that was cut short leaves its server behind
    command -v mariadbd >/dev/null 2>&1 || die "no MariaDB server binaries found (install mariadb-server)"
    MYDIR=$(mktemp -d /tmp/tabvet-mariadb.XXXXXX)
    chmod 755 "$MYDIR"
    if [ "$(id -u)" -eq 0 ]; then
        chown mysql:mysql "$MYDIR"
    fi
    write_config 0
    if ! as_server_user mariadb-install-db --defaults-file="$MYDIR/my.cnf" --auth-root-authentication-method=normal \
        --skip-test-db --skip-name-resolve >"$MYDIR/install.log" 2>&1; then
        cat "$MYDIR/install.log" >&2
        rm -rf "$MYDIR"
        die "mariadb-install-db failed"
    fi
    local port
    port=$(start_on_free_port "$MYDIR" "$MYDIR/server.log")
    # The account the tests connect as, over TCP and without a password, like the PostgreSQL cluster's superuser.
    client -e "CREATE USER tabvet@'127.0.0.1'; GRANT ALL ON *.* TO tabvet@'127.0.0.1' WITH GRANT OPTION"
    cat >"$state" <<EOF
MYDIR=$MYDIR
MYPORT=$port
EOF
    echo "MariaDB server on 127.0.0.1:$port in $MYDIR"
}

cmd_stop() {
    local state=$1
    [ -f "$state" ] || return 0
    # shellcheck disable=SC1090
    . "$state" || true
    if [ -n "${MYDIR:-}" ] && [ -f "$MYDIR/server.pid" ]; then
        local pid attempt
        pid=$(cat "$MYDIR/server.pid")
        # Nothing in it must survive, so the server is killed rather than shut down cleanly.
        kill -KILL "$pid" 2>/dev/null || true
        for attempt in $(seq 1 50); do
            kill -0 "$pid" 2>/dev/null || break
            sleep 0.1
        done
    fi
    case "${MYDIR:-}" in
        /tmp/tabvet-mariadb.*) remove_server_folder "$MYDIR" ;;
    esac
    rm -f "$state"
}

main() {
    [ $# -ge 2 ] || die "usage: mariadb_cluster.sh start|stop|sql STATEFILE ..."
    local command=$1
    shift
    case "$command" in
        start) cmd_start "$1" ;;
        stop) cmd_stop "$1" ;;
        sql)
            load_state "$1"
            shift
            client --batch --skip-column-names --raw "$@"
            ;;
        *) die "unknown command $command" ;;
    esac
}

main "$@"
