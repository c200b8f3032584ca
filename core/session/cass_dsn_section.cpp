#include "core/session/cass_dsn_section.h"

#include <cstring>
#include <utility>

#include "support/ascii.h"
#include "support/installer.h"

constexpr char dsn_file[] = "odbc.ini";

static void list_section(dsn_section *section, held_text name)
{
    constexpr int room = sizeof section->keys;
    section->name = std::move(name);
    section->listed = cass_get_private_profile_string(section->name.get(), nullptr, "",
                                                      section->keys, room, dsn_file);
    if (section->listed > room - 1)
        section->listed = room - 1;
    if (section->listed > 0)
        section->keys[section->listed] = '\0';
}

// A name that the end of a full list may have cut is no key.
static bool section_has_key(const dsn_section &section, const char *key)
{
    const char *end = section.keys + section.listed;
    const bool full = section.listed == static_cast<std::int32_t>(sizeof section.keys) - 1;
    for (const char *name = section.keys; name < end && *name != '\0';
         name += std::strlen(name) + 1) {
        if (ascii_casecmp(name, key) == 0)
            return !(full && name + std::strlen(name) >= end);
    }
    return false;
}

bool cass_dsn_value(const dsn_section &section, const char *key, char *value, int size)
{
    value[0] = '\0';
    if (section.name == nullptr || (section.listed > 0 && !section_has_key(section, key)))
        return false;
    cass_get_private_profile_string(section.name.get(), key, "", value, size, dsn_file);
    value[size - 1] = '\0';
    return value[0] != '\0';
}

// The name is looked for as UTF-8. An ANSI application whose names are UTF-8 already has had them
// widened byte for byte, so that the plain bytes are the second candidate.
bool cass_open_section(const cass_string *dsn, dsn_section *section)
{
    section->name.reset();
    if (cass_string_length(dsn) == 0)
        return true;
    held_text wanted(cass_string_to_utf8(dsn));
    held_text bytes(cass_string_to_ascii(dsn));
    if (wanted == nullptr || bytes == nullptr)
        return false;
    if (*wanted == '\0')
        return true;
    list_section(section, std::move(wanted));
    if (section->listed < 1 && *bytes != '\0' && std::strcmp(section->name.get(), bytes.get()) != 0)
        list_section(section, std::move(bytes));
    return true;
}
