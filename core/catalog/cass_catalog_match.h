// What the arguments of a catalog function select (ODBC 3.8, "Arguments in Catalog Functions"):
// everything, one name, or the names of a pattern. Names are UTF-8 and compared by their bytes.
#ifndef CORE_CATALOG_CASS_CATALOG_MATCH_H
#define CORE_CATALOG_CASS_CATALOG_MATCH_H

#include <string>
#include <string_view>

#include "core/record/cass_handles.h"

// How a text is read. An identifier is folded to lower case and loses blanks at its end, or stands
// in double quotes as it is.
enum catalog_reading {
    READ_AS_NAME,
    READ_AS_PATTERN,  // % for any characters, _ for one, a backslash in front of a sign as it is
    READ_AS_IDENTIFIER,
};

enum catalog_match_kind {
    MATCH_ALL,
    MATCH_NAME,
    MATCH_PATTERN,
};

struct catalog_match {
    catalog_match_kind kind = MATCH_ALL;
    std::string text;
};

catalog_match catalog_match_of(std::string_view text, catalog_reading reading);
bool catalog_matches(const catalog_match &match, std::string_view name);

// ---- Calls ---------------------------------------------------------------------------------------

enum catalog_function {
    CATALOG_TABLES,
    CATALOG_COLUMNS,
    CATALOG_PRIMARY_KEYS,
    CATALOG_SPECIAL_COLUMNS,
    CATALOG_STATISTICS,
};

struct catalog_arguments {
    text_argument catalog;
    text_argument schema;
    text_argument table;
    text_argument column;  // where the function has one; else a null pointer
};

// An argument's text, empty where none was given.
struct catalog_text {
    std::string text;
    bool given;
};

// What a call selects.
struct catalog_selection {
    bool nothing = false;  // a catalog is named, and there are none
    catalog_match keyspace;
    catalog_match table;
    catalog_match column;
};

// False when memory ran out; nothing is posted.
bool catalog_take_text(const text_argument &argument, catalog_text *text);
// Reads the arguments as the function says, or as identifiers where the statement says so. An empty
// schema counts as none. False with HY009 posted for a null pointer where a text must be, or HY001.
bool catalog_read_arguments(cass_stmt *stmt, catalog_function function,
                            const catalog_arguments &arguments, catalog_selection *selection);

#endif
