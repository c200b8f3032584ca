# shellcheck shell=bash
# What runs clients against a real cluster: how they are had, and the data sources that they use. Sourced behind
# steps.sh, server.sh, build.sh and debian.sh, in the folder of the repository.
scripts=$PWD/tests/clients
work=$PWD/build/clients
python=$work/python/bin/python

clients_help() {
  server_help
  cat <<'TEXT'
  VHCASS_DRIVER      the library to test, instead of building build/release/libvhcass.so
TEXT
}

# debian PACKAGE...: there already, or installed by root.
debian() {
  local name missing=()
  for name in "$@"; do
    dpkg-query -W -f '${Status}' "$name" 2>/dev/null | grep -q '^install ok installed' || missing+=("$name")
  done
  ((${#missing[@]})) || return 0
  if ((EUID != 0)); then
    echo "Debian packages ${missing[*]}"
    return 1
  fi
  { [[ -n $(find /var/lib/apt/lists -name '*_Packages*' -mtime -1 -print -quit) ]] || apt-get update -q; } >&2
  DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}" >&2 ||
    { echo "Debian packages ${missing[*]}"; return 1; }
}

# pypi PACKAGE==VERSION...: wheels in an environment of this folder's own.
pypi() {
  local stamp=$work/python/have package missing=()
  debian python3 python3-venv || return 1
  [[ -x $python ]] || /usr/bin/python3 -m venv "$work/python" >&2 || { echo "a Python environment"; return 1; }
  for package in "$@"; do
    grep -qxF "$package" "$stamp" 2>/dev/null || missing+=("$package")
  done
  ((${#missing[@]})) || return 0
  "$python" -m pip install -q --only-binary :all: "${missing[@]}" >&2 || { echo "PyPI packages ${missing[*]}"; return 1; }
  printf '%s\n' "${missing[@]}" >>"$stamp"
}

# manager SUITE: unixODBC of another suite of Debian, unpacked and not installed, with the C library that it needs, by
# whose loader $work/managers/SUITE/isql and python3 start.
manager() {
  local suite=$1 to=$work/managers/$1 program
  debian unixodbc python3-pyodbc || return 1
  [[ ! -x $to/python3 ]] || return 0
  (
    unpack_debian "$suite" "$to" libc6 unixodbc libodbc2 libodbcinst2 libltdl7 && cd "$to" || exit
    for program in "$to/files/usr/bin/isql" /usr/bin/python3; do
      printf '#!/bin/sh\nexec %s --library-path %s:/usr/lib/x86_64-linux-gnu --argv0 %s %s "$@"\n' \
        "$to/files/usr/lib64/ld-linux-x86-64.so.2" "$to/files/usr/lib/x86_64-linux-gnu" "$program" "$program" >"${program##*/}"
      chmod +x "${program##*/}"
    done
    ./isql --version
  ) >&2 || { rm -rf -- "$to"; echo "unixODBC of Debian $suite"; return 1; }
}

# tool NAME: a program that the machine must have.
tool() { command -v "$1" >/dev/null || { echo "the program $1"; return 1; }; }

# get_all NAME...: all of what is had by get_NAME, each that is missing said in a line.
get_all() {
  local name missing
  mkdir -p "$work"
  for name in "$@"; do
    missing=$("get_$name" 2>"$work/$name.get.log") || printf '%s missing: %s\n' "$name" "$missing"
  done
}

# data_sources: makes [clients] and [cassandra] for the server that was taken, once with Standard=Yes and, in the file
# CLIENTS_DEFAULT_INI, without it; CLIENTS_CONNECTION is the same without a data source.
data_sources() {
  local missing name
  mkdir -p "$work/odbc"
  [[ -n ${VHCASS_DRIVER:-} ]] || build_driver >"$work/build.log"
  missing=$(debian unixodbc odbcinst) || die 1 "missing: $missing"
  export CLIENTS_HOST=$host CLIENTS_PORT=$port ODBCSYSINI=$work/odbc ODBCINI=$work/odbc/odbc.ini
  printf '[Varnholt ODBC-Cassandra Driver]\nDriver = %s\nThreading = 2\n' "$(realpath "${VHCASS_DRIVER:-build/release/libvhcass.so}")" >"$work/odbc/odbcinst.ini"
  for name in clients cassandra; do
    { printf 'Driver = Varnholt ODBC-Cassandra Driver\nStandard = yes\n'; source_lines; } | replace_section "$ODBCINI" $name
  done
  export CLIENTS_DEFAULT_INI=$work/odbc/default.ini
  (umask 077 && sed '/^Standard/d' "$ODBCINI" >"$CLIENTS_DEFAULT_INI")
  export CLIENTS_CONNECTION="DRIVER={Varnholt ODBC-Cassandra Driver};SERVER=$host;PORT=$port;Standard=yes;${VHCASS_CONNECTION:-}"
}

# cql: statements of standard input through isql. Its exit status does not tell of failures.
cql() {
  isql -b -v clients >"$work/isql.log" 2>"$work/isql.errors"
  ! grep -q '^\[ISQL\]ERROR' "$work/isql.errors" || { grep -h '^\[' "$work/isql.log" "$work/isql.errors" >&2; return 1; }
}
