// SQLSetEnvAttr: the ODBC version, the one attribute that an environment takes. Diagnostics of
// earlier calls stay.
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLSetEnvAttr.c";

static SQLRETURN set_env_attr(cass_env *env, SQLINTEGER attribute, SQLPOINTER value)
{
    if (attribute == SQL_ATTR_ODBC_VERSION) {
        // Any number is kept: the Driver Manager knows versions that this driver does not.
        env->odbc_version = static_cast<std::int32_t>(reinterpret_cast<SQLLEN>(value));
        CASS_LOG(&env->head, LOG_DETAIL, "SQLSetEnvAttr: setting SQL_ATTR_ODBC_VERSION to %d",
                 env->odbc_version);
        return SQL_SUCCESS;
    }
    CASS_LOG(&env->head, LOG_ERROR, "SQLSetEnvAttr: invalid attribute %d", attribute);
    cass_post_error(&env->head, STATE_HYC00, 0, nullptr);
    return SQL_ERROR;
}

VHCASS_EXPORT SQLRETURN SQL_API SQLSetEnvAttr(SQLHENV environment_handle, SQLINTEGER attribute,
                                              SQLPOINTER value, SQLINTEGER)
{
    auto *env = static_cast<cass_env *>(environment_handle);
    if (env == nullptr || env->head.handle_tag != CASS_ENVIRONMENT_HANDLE)
        return SQL_INVALID_HANDLE;
    return enter_bare(&env->head, [&] {
        const cass_lock_guard guard(&env->attribute_lock);
        return set_env_attr(env, attribute, value);
    });
}
