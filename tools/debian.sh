# shellcheck shell=bash
# Packages of another suite of Debian beside those that are installed. Sourced.

# unpack_debian SUITE FOLDER PACKAGE...: into FOLDER/files, which is made anew, and not installed. A
# mirror that is behind will do.
unpack_debian() {
  local suite=$1 to=$2 codename site options package
  shift 2
  rm -rf -- "$to"
  mkdir -p -- "$to"/{lists,archives}/partial
  codename=$(. /etc/os-release && echo "$VERSION_CODENAME")
  site=$(apt-get indextargets --format '$(REPO_URI)' "Codename: $codename" 'Created-By: Packages' | head -n 1)
  echo "deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $site $suite main" >"$to/sources.list"
  options=(-q -o "Dir::Etc::SourceList=$to/sources.list" -o Dir::Etc::SourceParts=- -o "Dir::State::Lists=$to/lists"
    -o "Dir::Cache=$to" -o Acquire::Languages=none -o Acquire::Check-Valid-Until=false)
  (
    cd -- "$to" && apt-get "${options[@]}" update && apt-get "${options[@]}" download "${@/%//$suite}" || exit
    for package in *.deb; do dpkg-deb -x "$package" files || exit; done
    rm -rf -- *.deb lists archives ./*.bin
  )
}
