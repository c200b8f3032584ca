// Binding to the ODBC installer library, for the values of odbc.ini and odbcinst.ini.
#ifndef SUPPORT_INSTALLER_H
#define SUPPORT_INSTALLER_H

// SQLGetPrivateProfileString of the ODBC installer: the value of a key in a section of a file, or
// the default. With a null key the NUL-separated key names of the section. Bytes written to
// `buffer` (size in bytes), below 1 when there is nothing.
int cass_get_private_profile_string(const char *section, const char *key, const char *default_value,
                                    char *buffer, int size, const char *file);

#endif
