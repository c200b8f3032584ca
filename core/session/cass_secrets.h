// What the log may show of a call that brings a password: under a conduct that logs no secrets, and
// where the call asks for one, the password is hidden.
#ifndef CORE_SESSION_CASS_SECRETS_H
#define CORE_SESSION_CASS_SECRETS_H

#include "core/record/cass_handles.h"

// A connection string: itself or a copy in *hidden, null when memory ran out.
const cass_string *cass_shown_string(const cass_conn *conn, const cass_string *connect_string,
                                     held_string *hidden);
// The same of an argument; its text is null when memory ran out.
text_argument cass_shown_argument(const cass_conn *conn, const text_argument &connect_string,
                                  held_string *hidden);
// The password that comes with the name of a data source: itself or a constant.
text_argument cass_shown_password(const cass_conn *conn, const text_argument &dsn,
                                  const text_argument &password);

#endif
