# shellcheck shell=bash
# Debian packages that the build, the tests and the quick start need. Sourced.

build_packages=(cmake ninja-build g++ pkg-config unixodbc unixodbc-dev odbcinst libssl-dev libzip-dev
  libjansson-dev liblz4-dev zlib1g-dev)
node_packages=(openjdk-17-jre-headless maven python3 openssl procps)
test_packages=(libgtest-dev binutils clang libclang-rt-14-dev locales)

# need_packages NAME...: installs what is missing, as root; another user is told of it. Called once, with
# all that a script needs.
need_packages() {
  local missing=() name
  if ! command -v dpkg-query >/dev/null; then
    echo "not Debian: what is needed are the counterparts of its packages $*" >&2
    return
  fi
  for name in "$@"; do
    dpkg-query -W -f '${Status}' "$name" 2>/dev/null | grep -q 'ok installed' || missing+=("$name")
  done
  ((${#missing[@]} == 0)) && return
  if ((EUID != 0)); then
    printf 'these Debian packages are missing; as root:\n  apt-get install --no-install-recommends %s\n' "${missing[*]}" >&2
    exit 1
  fi
  echo "installing: ${missing[*]}" >&2
  { apt-get update -q && DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}"; } >&2 ||
    { echo "these Debian packages could not be had; is there a network? ${missing[*]}" >&2; exit 1; }
}
