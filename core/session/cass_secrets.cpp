#include "core/session/cass_secrets.h"

#include "core/log/cass_log.h"
#include "core/session/cass_checked_settings.h"

const cass_string *cass_shown_string(const cass_conn *conn, const cass_string *connect_string,
                                     held_string *hidden)
{
    bool asks = false;
    const bool whole = cass_string_asks_for_standard(connect_string, &asks);
    if (connect_string == nullptr || (whole && !asks && cass_log_shows_secrets(conn)))
        return connect_string;
    hidden->reset(cass_without_secrets(connect_string));
    return hidden->get();
}

text_argument cass_shown_argument(const cass_conn *conn, const text_argument &connect_string,
                                  held_string *hidden)
{
    held_string string;
    held_string copy;
    if (!cass_string_take_argument(connect_string, &string))
        return {};
    const cass_string *shown = cass_shown_string(conn, string.get(), &copy);
    if (shown == string.get())
        return connect_string;
    *hidden = std::move(copy);
    return shown == nullptr ? text_argument{} : wide_argument(shown->text, shown->length);
}

text_argument cass_shown_password(const cass_conn *conn, const text_argument &dsn,
                                  const text_argument &password)
{
    static constexpr SQLCHAR hidden[] = "*";
    held_string name;
    dsn_section section;
    const bool whole =
        cass_string_take_argument(dsn, &name) && cass_open_section(name.get(), &section);
    if (password.text == nullptr ||
        (whole && !cass_section_asks_for_standard(section) && cass_log_shows_secrets(conn)))
        return password;
    return ansi_argument(hidden, SQL_NTS);
}
