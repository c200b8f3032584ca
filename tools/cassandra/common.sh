# shellcheck shell=bash
# shellcheck disable=SC2034
# Shared by start and stop.

here=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd -P)
root=$(cd -- "$here/../.." && pwd -P)
nodes=$root/build/cassandra/nodes

say() { printf '%s: %s\n' "${0##*/}" "$*" >&2; }

# die STATUS MESSAGE...
die() {
  local status=$1
  shift
  say "$@"
  exit "$status"
}

check_name() {
  [[ $1 =~ ^[A-Za-z0-9][A-Za-z0-9._-]*$ ]] || die 2 "not a usable node name: '$1'"
}

# The process exists and is no zombie.
alive() {
  local stat
  stat=$(cat "/proc/$1/stat" 2>/dev/null) || return 1
  stat=${stat##*) }
  [[ ${stat%% *} != [ZX] ]]
}

# Prints the process of the node in folder $1; fails if it does not run. A number left by an earlier boot may belong to
# another program by now, so the command line has to name the folder.
node_pid() {
  local pid
  pid=$(cat "$1/pid" 2>/dev/null) || return 1
  [[ $pid =~ ^[0-9]+$ ]] && alive "$pid" || return 1
  tr '\0' '\n' 2>/dev/null <"/proc/$pid/cmdline" | grep -Fxq -e "-Dcassandra.storagedir=$1/data" || return 1
  printf '%s\n' "$pid"
}

# Ends the node in folder $1, waits for it and removes its data; the log and the settings stay. Nothing is kept that an
# orderly end would save, so the node gets no time for one.
end_node() {
  local pid i
  if pid=$(node_pid "$1"); then
    kill -9 "$pid" 2>/dev/null || true
    for ((i = 0; i < 600; i++)); do
      alive "$pid" || break
      sleep 0.05
    done
    if alive "$pid"; then
      die 1 "process $pid does not end"
    fi
  fi
  rm -rf -- "$1/data" "$1/tmp" "$1/pid" "$1/ports" "$1/version" "$1/endpoint"
}
