#!/usr/bin/env bash
# Installs, by package name, what building needs and is missing; with "tests" also the servers that the tests
# start. On a machine where all is installed it only asks dpkg and never touches the package manager.
set -euo pipefail

packages=(
    g++ make cmake ninja-build ccache
    libloki-dev libboost-dev libsqlite3-dev libexpat1-dev libcli11-dev unixodbc-dev
    libgtest-dev libgmock-dev libbenchmark-dev
)
if [ "${1:-}" = tests ]; then
    # MariaDB without its service: the tests start a server of their own.
    packages+=(mariadb-server-core mariadb-client-core odbc-mariadb postgresql odbc-postgresql)
fi

missing=()
for package in "${packages[@]}"; do
    status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
    [ "$status" = "install ok installed" ] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

echo "Installing: ${missing[*]}" >&2
as_root=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "Run as root, or install sudo, to get: ${missing[*]}" >&2; exit 1; }
    as_root=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
