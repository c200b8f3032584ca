// The server setting as people write it, and as connecting reads it.
#ifndef CORE_SESSION_CASS_SERVER_LIST_H
#define CORE_SESSION_CASS_SERVER_LIST_H

// In its place: an entry that is a bare number is the port of the host in front of it, as other
// drivers write it. `host,9042` becomes `host:9042`, and an address with colons takes an asterisk.
// Blanks round entries and empty ones go. *has_ports tells whether any entry has a port. False for
// a list without a host, or with a number that has no host of its own; the list is then of no use.
bool cass_join_ports(char *list, bool *has_ports);

#endif
