#!/usr/bin/env bash
# A private MariaDB and PostgreSQL for tests: data, sockets and ODBC configuration in one temporary directory,
# no network port, nothing of the machine's own configuration read or changed.
#
#   servers.sh start FILE [NAME...]   starts the servers named (mariadb, postgres; both by default) and writes
#                                     how to reach them to FILE, one NAME='value' a line, fit for a shell
#   servers.sh stop FILE              stops them and removes their directory
#   servers.sh kill FILE NAME         kills one server where it stands
#   servers.sh restart FILE NAME      starts a killed one again
#   servers.sh run COMMAND...         starts both, runs the command with the values of FILE in its environment,
#                                     stops both
#
# The servers also stop when the process that called "start" ends, however it ends (QX_SERVERS_OWNER names
# another process to live as long as). Servers refuse to run as root, so root starts them as nobody.
set -euo pipefail

fail() {
    echo "servers.sh: $*" >&2
    exit 1
}

# Runs a command as the user that owns the servers.
unprivileged() {
    if [ "$(id -u)" -eq 0 ]; then
        setpriv --reuid nobody --regid nogroup --clear-groups env HOME="$dir" "$@"
    else
        "$@"
    fi
}

# Waits up to 60 seconds for a command to succeed.
await() {
    local tries
    for ((tries = 0; tries < 600; tries++)); do
        if "$@" >/dev/null 2>&1; then
            return 0
        fi
        sleep 0.1
    done
    return 1
}

find_tool() {
    local found
    found=$(command -v "$1" || true)
    [ -n "$found" ] || found=$(find /usr/sbin /usr/local/sbin -maxdepth 1 -name "$1" 2>/dev/null | head -1)
    [ -n "$found" ] || fail "$1 is not installed"
    echo "$found"
}

postgres_tool() {
    local bin
    bin=$(ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -V | tail -1)
    [ -n "$bin" ] || bin=$(pg_config --bindir 2>/dev/null || true)
    [ -x "$bin/$1" ] || fail "$1 is not installed"
    echo "$bin/$1"
}

# --- MariaDB ---

launch_mariadb() {
    # Durability costs time and buys nothing for data that lives as long as a test run.
    unprivileged "$(find_tool mariadbd)" --no-defaults --datadir="$dir/mariadb" --socket="$dir/mariadb.sock" \
        --pid-file="$dir/mariadb.pid" --skip-networking --skip-name-resolve --log-error="$dir/mariadb.log" \
        --character-set-server=utf8mb4 --max-allowed-packet=1G --innodb-flush-log-at-trx-commit=0 \
        --innodb-doublewrite=0 --sync-binlog=0 --innodb-buffer-pool-size=64M --performance-schema=0 \
        --lc-messages-dir=/usr/share/mysql --secure-file-priv="" >/dev/null 2>&1 </dev/null &
    export MYSQL_PWD=$password
    if ! await "$(find_tool mariadb)" --no-defaults --socket="$dir/mariadb.sock" -u qx -e "SELECT 1"; then
        cat "$dir/mariadb.log" >&2
        fail "MariaDB did not start"
    fi
}

start_mariadb() {
    unprivileged "$(find_tool mariadb-install-db)" --no-defaults --datadir="$dir/mariadb" \
        --auth-root-authentication-method=normal --skip-test-db --skip-name-resolve \
        >"$dir/mariadb-install.log" 2>&1 || { cat "$dir/mariadb-install.log" >&2; fail "mariadb-install-db failed"; }
    # Grants are off while it reads, hence the first line.
    unprivileged "$(find_tool mariadbd)" --no-defaults --datadir="$dir/mariadb" --bootstrap --skip-networking \
        --log-error="$dir/mariadb.log" --lc-messages-dir=/usr/share/mysql >/dev/null 2>&1 <<SQL \
        || { cat "$dir/mariadb.log" >&2; fail "MariaDB could not be set up"; }
FLUSH PRIVILEGES;
CREATE DATABASE qx CHARACTER SET utf8mb4;
CREATE USER qx@localhost IDENTIFIED BY '$password';
GRANT ALL PRIVILEGES ON *.* TO qx@localhost WITH GRANT OPTION;
DROP USER root@localhost;
SQL
    launch_mariadb
}

# --- PostgreSQL ---

launch_postgres() {
    unprivileged "$(postgres_tool postgres)" -D "$dir/postgres" -k "$dir" -p 5432 -c listen_addresses= \
        -c fsync=off -c synchronous_commit=off -c full_page_writes=off -c max_connections=60 \
        -c lc_messages=C -c logging_collector=off >"$dir/postgres.log" 2>&1 </dev/null &
    if ! PGPASSWORD=$password await "$(postgres_tool pg_isready)" -h "$dir" -p 5432 -U qx -d postgres; then
        cat "$dir/postgres.log" >&2
        fail "PostgreSQL did not start"
    fi
}

start_postgres() {
    (umask 077 && echo "$password" >"$dir/password")
    if [ "$(id -u)" -eq 0 ]; then
        chown nobody "$dir/password"
    fi
    unprivileged "$(postgres_tool initdb)" -D "$dir/postgres" -U qx --pwfile="$dir/password" -A scram-sha-256 \
        -E UTF8 --locale=C --no-sync --no-instructions >"$dir/postgres-install.log" 2>&1 \
        || { cat "$dir/postgres-install.log" >&2; fail "initdb failed"; }
    rm -f "$dir/password"
    launch_postgres
    PGPASSWORD=$password "$(postgres_tool psql)" -h "$dir" -p 5432 -U qx -d postgres -q -c "CREATE DATABASE qx" \
        >/dev/null
}

# --- The configuration of the driver manager ---

odbc_driver() {
    local found
    found=$(find /usr/lib /usr/local/lib -name "$1" 2>/dev/null | head -1)
    [ -n "$found" ] || fail "the ODBC driver $1 is not installed"
    echo "$found"
}

write_odbc() {
    mkdir "$dir/odbc"
    cat >"$dir/odbc/odbcinst.ini" <<INI
[MariaDB]
Driver=$(odbc_driver libmaodbc.so)
Threading=0
[PostgreSQL]
Driver=$(odbc_driver psqlodbcw.so)
Threading=0
INI
    cat >"$dir/odbc/odbc.ini" <<INI
[qxmariadb]
Driver=MariaDB
SOCKET=$dir/mariadb.sock
DATABASE=qx
[qxpostgres]
Driver=PostgreSQL
Servername=$dir
Port=5432
Database=qx
INI
    chmod -R a+rX "$dir/odbc"
}

write_file() {
    cat >"$file.new" <<END
QX_SERVERS_DIR='$dir'
QX_SERVERS_SUPERVISOR='$1'
QX_SERVERS_PASSWORD='$password'
QX_MARIADB_SOCKET='$dir/mariadb.sock'
QX_MARIADB='DSN=qxmariadb;UID=qx;PWD=$password'
QX_MARIADB_DRIVER='Driver=MariaDB;SOCKET=$dir/mariadb.sock;DATABASE=qx'
QX_POSTGRES_HOST='$dir'
QX_POSTGRES='DSN=qxpostgres;UID=qx;PWD=$password'
QX_POSTGRES_DRIVER='Driver=PostgreSQL;Servername=$dir;Port=5432;Database=qx'
ODBCSYSINI='$dir/odbc'
ODBCINI='$dir/odbc/odbc.ini'
END
    chmod 600 "$file.new"
    mv "$file.new" "$file"
}

# --- Stopping ---

server_pid() {
    case $1 in
        mariadb) cat "$dir/mariadb.pid" 2>/dev/null || true ;;
        postgres) head -1 "$dir/postgres/postmaster.pid" 2>/dev/null || true ;;
        *) fail "unknown server $1" ;;
    esac
}

# A zombie that nobody waits for has gone too.
gone() {
    local state
    state=$(sed -n 's/^State:[[:space:]]*\([A-Z]\).*/\1/p' "/proc/$1/status" 2>/dev/null || true)
    [ -z "$state" ] || [ "$state" = Z ]
}

end_process() {
    local pid=$1 signal=$2
    [ -n "$pid" ] || return 0
    kill "-$signal" "$pid" 2>/dev/null || return 0
    if ! await gone "$pid"; then
        kill -KILL "$pid" 2>/dev/null || true
    fi
}

# At once, with all its connections; PostgreSQL calls that an immediate shutdown.
crash() {
    local signal=KILL
    [ "$1" != postgres ] || signal=QUIT
    end_process "$(server_pid "$1")" "$signal"
}

# What every end comes to.
clean_up() {
    # KILL: nothing in these data is worth an orderly end. INT: the fast end of PostgreSQL, which also frees
    # its shared memory.
    end_process "$(server_pid mariadb)" KILL
    end_process "$(server_pid postgres)" INT
    rm -rf "$dir"
}

# Lives as long as the servers. Ends them when it is told to, or when the owner has gone.
supervise() {
    trap 'clean_up; exit 0' TERM INT HUP
    while ! gone "$1" && [ -d "$dir" ]; do
        sleep 0.5
    done
    clean_up
}

# --- Commands ---

load_file() {
    [ -f "$file" ] || fail "$file does not exist"
    # shellcheck disable=SC1090
    . "$file"
    dir=$QX_SERVERS_DIR
    password=$QX_SERVERS_PASSWORD
}

start() {
    local owner=$1 name
    shift
    [ $# -gt 0 ] || set -- mariadb postgres
    dir=$(mktemp -d "${TMPDIR:-/tmp}/qxservers.XXXXXX")
    password=$(od -An -N12 -tx1 /dev/urandom | tr -d ' \n')
    trap clean_up EXIT
    if [ "$(id -u)" -eq 0 ]; then
        chown nobody:nogroup "$dir"
    fi
    chmod 755 "$dir"
    local pids=()
    for name in "$@"; do
        "start_$name" &
        pids+=($!)
    done
    for pid in "${pids[@]}"; do
        wait "$pid" || exit 1
    done
    write_odbc
    trap - EXIT
    supervise "$owner" >/dev/null 2>&1 </dev/null &
    write_file $!
    disown
}

stop() {
    load_file
    rm -f "$file"
    kill -TERM "$QX_SERVERS_SUPERVISOR" 2>/dev/null || true
    await test ! -e "$dir" || clean_up
}

run() {
    file=$(mktemp)
    trap 'stop; rm -f "$file"' EXIT
    start $$
    set -a
    # shellcheck disable=SC1090
    . "$file"
    set +a
    "$@"
}

verb=${1:-}
case $verb in
    run)
        shift
        [ $# -gt 0 ] || fail "run what?"
        run "$@"
        ;;
    start | stop | kill | restart)
        file=${2:-}
        [ -n "$file" ] || fail "$verb FILE"
        shift 2
        case $verb in
            start) start "${QX_SERVERS_OWNER:-$PPID}" "$@" ;;
            stop) stop ;;
            kill)
                load_file
                crash "$1"
                ;;
            restart)
                load_file
                "launch_$1"
                ;;
        esac
        ;;
    *) sed -n '2,17s/^# \{0,1\}//p' "$0" >&2; exit 2 ;;
esac
