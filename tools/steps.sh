# shellcheck shell=bash
# The steps of a script, and how it ends. Sourced.

step() { printf '\n== %s\n' "$*"; }

# die STATUS MESSAGE...
die() {
  local status=$1
  shift
  printf '%s: %s\n' "${0##*/}" "$*" >&2
  exit "$status"
}

# Process groups that run for this script.
groups=()

# in_background COMMAND...: in a process group of its own, which is the last of `groups`. A terminal's
# interruption reaches this script alone, which ends the groups and then does what is left to do.
in_background() {
  set -m
  "$@" &
  set +m
  groups+=($!)
}

# run COMMAND...: as if it were called, but a signal to the script does not wait for its end.
run() {
  local status=0
  in_background "$@"
  wait "${groups[-1]}" || status=$?
  unset 'groups[-1]'
  return "$status"
}

# end_groups: ends what still runs.
end_groups() {
  local group
  for group in "${groups[@]}"; do
    kill -TERM -- "-$group" 2>/dev/null || true
    wait "$group" 2>/dev/null || true
  done
  groups=()
}

# at_end FUNCTION: is called with the script's exit status when it ends, interrupted or not, with
# nothing running any more. It cannot be interrupted itself.
at_end() {
  # shellcheck disable=SC2064
  trap "status=\$?; trap '' INT TERM HUP; end_groups; $1 \"\$status\"" EXIT
  trap 'exit 130' INT
  trap 'exit 143' TERM HUP
}
