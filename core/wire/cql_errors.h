// Errors of the server (native protocol v4, section 9).
#ifndef CORE_WIRE_CQL_ERRORS_H
#define CORE_WIRE_CQL_ERRORS_H

#include "core/diag/cass_err.h"

constexpr std::int32_t CQL_BAD_CREDENTIALS = 0x0100;
constexpr std::int32_t CQL_UNAUTHORIZED = 0x2100;
constexpr std::int32_t CQL_INVALID = 0x2200;
constexpr std::int32_t CQL_UNPREPARED = 0x2500;

// The SQLSTATE of an error, by its code and, where one code serves many, by words of its text.
cass_state_row cass_server_state(std::int32_t code, const char *text);

#endif
