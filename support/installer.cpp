// The one call of the ODBC installer library that the driver uses. The library is linked, so there
// is nothing to bind at run time.
#include "support/installer.h"

#include <odbcinst.h>

int cass_get_private_profile_string(const char *section, const char *key, const char *default_value,
                                    char *buffer, int size, const char *file)
{
    return SQLGetPrivateProfileString(section, key, default_value, buffer, size, file);
}
