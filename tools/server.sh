# shellcheck shell=bash
# A cluster of the user's own, which VHCASS_SERVER and VHCASS_CONNECTION name, and data sources. Sourced
# behind steps.sh.

server_help() {
  cat <<'TEXT'
  VHCASS_SERVER      host, host:port or [::1]:port of a cluster of yours
  VHCASS_CONNECTION  the rest of a connection string for it, values without semicolons and paths absolute:
                     'UID=me;PWD=secret;Encrypt=yes;CertificateFile=/etc/ca.pem'
TEXT
}

# take_server ADDRESS: sets host and port.
take_server() {
  port=9042
  case $1 in
    \[*\]:*) host=${1%]:*} host=${host#[} port=${1##*]:} ;;
    \[*\]) host=${1:1:-1} ;;
    *:*:*) host=$1 ;;
    *:*) host=${1%:*} port=${1##*:} ;;
    *) host=$1 ;;
  esac
  [[ $host =~ ^[A-Za-z0-9._:%-]+$ && $port =~ ^[1-9][0-9]{0,4}$ ]] ||
    die 2 "not a server (host, host:port or [::1]:port): '$1'"
}

# take_named_server: sets host and port if VHCASS_SERVER is set, and fails if it is not. Ends the script
# when the server does not take a connection.
take_named_server() {
  local complaint status=0
  if [[ -z ${VHCASS_SERVER:-} ]]; then
    [[ -z ${VHCASS_CONNECTION:-} ]] || die 2 "VHCASS_CONNECTION is set, but VHCASS_SERVER names no server"
    return 1
  fi
  take_server "$VHCASS_SERVER"
  # shellcheck disable=SC2016
  complaint=$(LC_ALL=C timeout 10 bash -c ': >"/dev/tcp/$0/$1"' "$host" "$port" 2>&1) || status=$?
  complaint=${complaint%%$'\n'*}
  ((status != 124)) || complaint="no answer within 10 s"
  ((status == 0)) || die 1 "the server cannot be reached, VHCASS_SERVER=$VHCASS_SERVER: ${complaint##*: }"
}

# source_lines: host, port and VHCASS_CONNECTION as lines of a data source.
source_lines() {
  local pairs=() pair key value
  printf 'Server = %s\nPort = %s\n' "$host" "$port"
  [[ $host != *:* ]] || echo 'ipv6 = yes'
  IFS=';' read -r -a pairs <<<"${VHCASS_CONNECTION:-}"
  for pair in "${pairs[@]}"; do
    key=${pair%%=*} value=${pair#*=}
    [[ -n ${pair//[[:space:]]/} ]] || continue
    [[ $pair == *=* ]] || die 2 "no key and value in VHCASS_CONNECTION: '$pair'"
    case ${key,,} in
      uid) key=User ;;
      pwd) key=Password ;;
      bundle) key=SecureConnectionBundlePath ;;
      astra_port) key=AstraPort ;;
    esac
    printf '%s = %s\n' "$key" "$value"
  done
}

# replace_section FILE NAME: standard input becomes the body of [NAME]; all else in the file stays as it
# is, comments included. A new file is its owner's alone: it may hold a password.
replace_section() {
  local file=$1 body
  body=$(cat)
  [[ -e $file ]] || (umask 077 && : >"$file")
  name="[$2]" body=$body awk '
    /^[ \t]*\[/ { mine = index($0, ENVIRON["name"]) > 0 }
    mine && /^[ \t]*\[/ && !done { print ENVIRON["name"]; print ENVIRON["body"]; done = 1 }
    !mine || /^[ \t]*([#;]|$)/ { print }
    END { if (!done) { if (NR) print ""; print ENVIRON["name"]; print ENVIRON["body"] } }
  ' "$file" >"$file.new"
  cat -- "$file.new" >"$file"
  rm -f -- "$file.new"
}
