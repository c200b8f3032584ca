# Settings as Cassandra 4.0 names them, with the unit in the name.
s/^(materialized_views|sasi_indexes|user_defined_functions)_enabled:/enable_\1:/
s/^(native_transport_)max_request_data_in_flight(_per_ip)?: ([0-9]+)MiB/\1max_concurrent_requests_in_bytes\2: \3000000/
s/^([a-z_]+): ([0-9]+)MiB/\1_in_mb: \2/
s/^([a-z_]+): ([0-9]+)s$/\1_in_ms: \2000/
s/^([a-z_]+): ([0-9]+)ms$/\1_in_ms: \2/
