// SQLGetEnvAttr: the environment's attributes, all of them 32-bit numbers. Diagnostics of earlier
// calls stay.
#include "core/diag/cass_text_out.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLGetEnvAttr.c";

// Always on; asked for by some Driver Managers before they set anything.
constexpr SQLINTEGER ATTR_ALWAYS_ON = 1065;

static SQLRETURN give_integer(SQLPOINTER value, SQLINTEGER *string_length, SQLINTEGER number)
{
    cass_store(value, number);
    cass_store(string_length, static_cast<SQLINTEGER>(sizeof number));
    return SQL_SUCCESS;
}

static SQLRETURN get_env_attr(cass_env *env, SQLINTEGER attribute, SQLPOINTER value,
                              SQLINTEGER *string_length)
{
    switch (attribute) {
    case SQL_ATTR_ODBC_VERSION:
        if (value == nullptr)
            CASS_LOG(&env->head, LOG_DETAIL,
                     "SQLGetEnvAttr: would have returned "
                     "SQL_ATTR_ODBC_VERSION, but value was NULL");
        return give_integer(value, string_length, env->odbc_version);
    case ATTR_ALWAYS_ON:
        return give_integer(value, string_length, 1);
    case SQL_ATTR_OUTPUT_NTS:
        if (value == nullptr)
            CASS_LOG(&env->head, LOG_DETAIL,
                     "SQLGetEnvAttr: would have returned "
                     "SQL_ATTR_OUTPUT_NTS, but value was NULL");
        return give_integer(value, string_length, SQL_TRUE);
    default:
        CASS_LOG(&env->head, LOG_ERROR, "SQLGetEnvAttr: invalid attribute %d", attribute);
        cass_post_error(&env->head, STATE_HYC00, 0, nullptr);
        return SQL_ERROR;
    }
}

VHCASS_EXPORT SQLRETURN SQL_API SQLGetEnvAttr(SQLHENV environment_handle, SQLINTEGER attribute,
                                              SQLPOINTER value, SQLINTEGER,
                                              SQLINTEGER *string_length)
{
    auto *env = static_cast<cass_env *>(environment_handle);
    if (env == nullptr || env->head.handle_tag != CASS_ENVIRONMENT_HANDLE)
        return SQL_INVALID_HANDLE;
    return enter_bare(&env->head, [&] {
        const cass_lock_guard guard(&env->attribute_lock);
        return get_env_attr(env, attribute, value, string_length);
    });
}
