// From an entry of the list of servers to the addresses that it means.
#ifndef CORE_NET_CASS_ADDRESS_H
#define CORE_NET_CASS_ADDRESS_H

#include <netdb.h>

#include <cstdint>

#include "support/held.h"

struct cass_server {
    char *host;  // within the entry
    std::int32_t port;
};

// Cuts an entry in place: `host`, `host:port`, `host*port`, an IPv6 address, which may stand in
// brackets with a port behind it, blanks around. port is 0 where there is none. False for one that
// is no number from 1 to 65535.
bool cass_read_server(char *entry, cass_server *server);

// Of an address of IPv4 or IPv6.
void cass_set_port(sockaddr *address, std::int32_t port);

using held_addresses = held<addrinfo, &freeaddrinfo>;

// What cass_resolve gives when the time is up: none of the system's codes.
constexpr int RESOLVE_TIMED_OUT = 1;

// The stream addresses of a host, in the resolver's order; family AF_UNSPEC or AF_INET6. ends: by
// the monotonic clock in milliseconds, 0: without limit. 0, an EAI_ code, or RESOLVE_TIMED_OUT. A
// numeric address is not looked up. With a limit a name is looked up by a thread of the C library,
// which may go on with it for itself when the time is up; without one no thread is used.
int cass_resolve(const char *host, int family, std::int64_t ends, held_addresses *list);

#endif
