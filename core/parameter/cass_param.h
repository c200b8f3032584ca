// Parameters: from the application's bindings in the APD to values in a request body.
#ifndef CORE_PARAMETER_CASS_PARAM_H
#define CORE_PARAMETER_CASS_PARAM_H

#include "core/wire/cass_pkt.h"

// Checks that every marker is bound, for the parameter set in work. 0; -1 with 07002 posted (unless
// silent); SQL_NEED_DATA (99) when a parameter comes at execution, with current_dae_* set for the
// `operation` (OP_EXEC_DIRECT or OP_EXECUTE).
int cass_check_params(cass_stmt *stmt, int silent, std::int32_t operation);
// The two halves of it: 0 or -1, and 0 or SQL_NEED_DATA.
int cass_check_bound(cass_stmt *stmt, int silent);
int cass_await_data(cass_stmt *stmt, std::int32_t operation);
// Appends the value count and the values of the set in work. 0, or 1 with the failure posted,
// naming the parameter.
int cass_append_params(cass_stmt *stmt, cass_packet *packet);
// The record `index` of the APD (from 0, below its count) has its value at execution, by its
// indicator for the set in work. A set at or above the array size has no indicators.
bool cass_param_at_exec(const cass_stmt *stmt, std::int32_t index);
// What a C type is in memory: bytes of a fixed type; 0 and the bytes of a unit for text and binary;
// 0 and 0 for no C type that can be sent.
struct cass_c_size {
    std::int32_t fixed;
    std::int32_t unit;
};
cass_c_size cass_c_type_size(std::int32_t c_type);

#endif
