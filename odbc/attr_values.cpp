#include "odbc/attr_values.h"

static bool attributes_take_any_value(const cass_conn *conn)
{
    return conn->conduct->attributes_take_any_value;
}

attr_verdict judge_attr_value(const cass_conn *conn, const attr_values &values, SQLULEN value,
                              cass_state_row *state)
{
    if (attributes_take_any_value(conn))
        return VALUE_IS_SET;
    *state = STATE_HY024;
    if (values.most != ANY_VALUE && value > static_cast<SQLULEN>(values.most))
        return VALUE_IS_REFUSED;
    if (values.only == ANY_VALUE)
        return VALUE_IS_SET;
    *state = STATE_HYC00;
    return value == static_cast<SQLULEN>(values.only) ? VALUE_IS_DEFAULT : VALUE_IS_REFUSED;
}
