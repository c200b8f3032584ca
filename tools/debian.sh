# shellcheck shell=bash
# Packages of another suite of Debian beside those that are installed. Sourced.

# own_apt SUITE FOLDER: makes FOLDER anew, for an apt of its own that installs nothing; its call is then in `own_apt`.
# A mirror that is behind will do.
own_apt() {
  local suite=$1 to=$2 codename site
  rm -rf -- "$to"
  mkdir -p -- "$to"/{lists,archives}/partial
  codename=$(. /etc/os-release && echo "$VERSION_CODENAME")
  site=$(apt-get indextargets --format '$(REPO_URI)' "Codename: $codename" 'Created-By: Packages' | head -n 1)
  echo "deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $site $suite main" >"$to/sources.list"
  own_apt=(apt-get -q -o "Dir::Etc::SourceList=$to/sources.list" -o Dir::Etc::SourceParts=- -o "Dir::State::Lists=$to/lists"
    -o "Dir::Cache=$to" -o Acquire::Languages=none -o Acquire::Check-Valid-Until=false)
}

# unpack_debian SUITE FOLDER PACKAGE...: into FOLDER/files, which is made anew, and not installed.
unpack_debian() {
  local suite=$1 to=$2 package own_apt
  shift 2
  own_apt "$suite" "$to"
  (
    cd -- "$to" && "${own_apt[@]}" update && "${own_apt[@]}" download "${@/%//$suite}" || exit
    for package in *.deb; do dpkg-deb -x "$package" files || exit; done
    rm -rf -- *.deb lists archives ./*.bin
  )
}

# unpack_foreign ARCHITECTURE FOLDER PACKAGE...: of another machine and this suite, with all that they depend on, into
# FOLDER/files, which is made anew.
unpack_foreign() {
  local to=$2 suite package own_apt
  suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
  own_apt "$suite" "$to"
  own_apt+=(-o "APT::Architecture=$1" -o "APT::Architectures=$1" -o APT::Install-Recommends=no -o "Dir::State=$to"
    -o "Dir::State::status=$to/status" -o Debug::NoLocking=yes)
  shift 2
  : >"$to/status"
  "${own_apt[@]}" update && "${own_apt[@]}" install --download-only -y "$@" || return
  for package in "$to"/archives/*.deb; do dpkg-deb -x "$package" "$to/files" || return; done
  rm -rf -- "$to"/{archives,lists} "$to"/*.bin
}
