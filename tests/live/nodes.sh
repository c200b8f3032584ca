# shellcheck shell=bash
# The nodes of the live tests. Sourced.

# The variable that names a node to the live tests, the node's own name, its options.
node_table() {
  cat <<'TEXT'
VHCASS_SERVER tests --set materialized_views_enabled=true --set commitlog_segment_size=160MiB --set commitlog_total_space=4096MiB --set native_transport_max_frame_size=80MiB --set native_transport_max_request_data_in_flight=256MiB --set native_transport_max_request_data_in_flight_per_ip=256MiB
VHCASS_PASSWORD_SERVER password --password
VHCASS_IPV6_SERVER ipv6 --address ::1
VHCASS_TLS_SERVER tls --client-auth
TEXT
}
