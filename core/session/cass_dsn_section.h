// A data source's section of odbc.ini, by the ODBC installer library.
#ifndef CORE_SESSION_CASS_DSN_SECTION_H
#define CORE_SESSION_CASS_DSN_SECTION_H

#include "support/strfunc.h"

// A section and the list of its keys: every key that is not there saves a look into the file.
struct dsn_section {
    held_text name;       // null: no section is open
    std::int32_t listed;  // bytes of keys; below 1: no list
    char keys[8192];      // names, each with its NUL
};

// Opens the section of a data source; its name stays null without one. An empty name is none
// either, as the installer would take it for a pattern that every section matches. False when
// memory ran out.
bool cass_open_section(const cass_string *dsn, dsn_section *section);
// One value, empty when the section does not have it. True when there is something.
bool cass_dsn_value(const dsn_section &section, const char *key, char *value, int size);

#endif
