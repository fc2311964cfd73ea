# Shared by the scripts that start throwaway database servers (pg_cluster.sh, mariadb_cluster.sh); sourced,
# not run. The script sets SERVER_SCRIPT (its name in messages) and SERVER_USER (the account its server runs
# as when started by root), and defines try_start PORT.

die() {
    echo "$SERVER_SCRIPT: $*" >&2
    exit 1
}

# The servers refuse to run as root, so they belong to their own unprivileged account then.
as_server_user() {
    if [ "$(id -u)" -eq 0 ]; then
        runuser -u "$SERVER_USER" -- "$@"
    else
        "$@"
    fi
}

port_in_use() {
    (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null
}

# Starts the server through try_start on a free port of 127.0.0.1 and prints the port. When no port works,
# shows LOG, removes DIR and fails. The server's own bind decides whether a port is really free.
start_on_free_port() {
    local dir=$1 log=$2 port attempt
    for attempt in $(seq 1 40); do
        port=$((20000 + (RANDOM * 32768 + RANDOM) % 40000))
        port_in_use "$port" && continue
        if try_start "$port"; then
            echo "$port"
            return 0
        fi
    done
    cat "$log" >&2 || true
    rm -rf "$dir"
    die "the server did not start after $attempt attempts"
}

# On a disk mounted with discard, deleting a server's files can take a minute of a loaded machine: the folder
# is renamed at once and removed in the background, on no caller's output.
remove_server_folder() {
    local dir=$1
    if mv "$dir" "$dir.removed" 2>/dev/null; then
        setsid rm -rf "$dir.removed" </dev/null >/dev/null 2>&1 &
    else
        rm -rf "$dir"
    fi
}
