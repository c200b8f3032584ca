# shellcheck shell=bash
# Debian packages that the build, the tests and the quick start need. Sourced.

build_packages=(cmake ninja-build g++ pkg-config unixodbc unixodbc-dev odbcinst libssl-dev libzip-dev
  libjansson-dev liblz4-dev zlib1g-dev)
node_packages=(openjdk-17-jre-headless maven python3 openssl procps)

# need_packages NAME...: installs what is missing, as root.
need_packages() {
  local missing=() name
  for name in "$@"; do
    dpkg-query -W -f '${Status}' "$name" 2>/dev/null | grep -q 'ok installed' || missing+=("$name")
  done
  ((${#missing[@]} == 0)) && return
  if ((EUID != 0)); then
    echo "these Debian packages are missing; install them as root: ${missing[*]}" >&2
    exit 1
  fi
  echo "installing: ${missing[*]}" >&2
  apt-get update -q >&2
  DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}" >&2
}
