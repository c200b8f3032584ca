// The values that an attribute takes, for the tables of statement and connection attributes.
#ifndef ODBC_ATTR_VALUES_H
#define ODBC_ATTR_VALUES_H

#include "core/diag/cass_err.h"

constexpr std::int8_t ANY_VALUE = -1;

struct attr_values {
    std::int8_t most = ANY_VALUE;  // values above it are none of the attribute
    std::int8_t only = ANY_VALUE;  // the one value, its default, that the driver can follow
};

enum attr_verdict : std::uint8_t {
    VALUE_IS_SET,
    VALUE_IS_DEFAULT,  // of an attribute that has only this one
    VALUE_IS_REFUSED,  // with the state in *state: HY024 or HYC00
};

attr_verdict judge_attr_value(const cass_conn *conn, const attr_values &values, SQLULEN value,
                              cass_state_row *state);

#endif
