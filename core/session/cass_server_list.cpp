#include "core/session/cass_server_list.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "support/ascii.h"

static bool is_number(std::string_view text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char one) {
        return ascii_is_digit(static_cast<unsigned char>(one));
    });
}

static std::ptrdiff_t colons(std::string_view text)
{
    return std::count(text.begin(), text.end(), ':');
}

// Whether an entry has a port: several colons without brackets are an address's.
static bool has_port(std::string_view entry)
{
    if (entry.starts_with('['))
        entry.remove_prefix(std::min(entry.find(']'), entry.size()));
    return entry.find('*') != std::string_view::npos || colons(entry) == 1;
}

bool cass_join_ports(char *list, bool *has_ports)
{
    const std::string_view text(list);
    std::size_t used = 0;  // what is written never overtakes what is read
    std::size_t last = 0;  // where the last entry is written
    *has_ports = false;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t comma = std::min(text.find(',', start), text.size());
        const std::string_view entry = ascii_trimmed(text.substr(start, comma - start));
        const std::string_view host(list + last, used - last);
        start = comma + 1;
        if (entry.empty())
            continue;
        const bool number = is_number(entry);
        if (number && (host.empty() || has_port(host)))
            return false;
        *has_ports = *has_ports || number || has_port(entry);
        if (number)
            list[used++] = colons(host) > 1 && !host.ends_with(']') ? '*' : ':';
        else if (used > 0)
            list[used++] = ',';
        if (!number)
            last = used;
        std::memmove(list + used, entry.data(), entry.size());
        used += entry.size();
    }
    list[used] = '\0';
    return used > 0;
}
