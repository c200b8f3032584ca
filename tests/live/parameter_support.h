// What the live tests of parameters share: a keyspace with a table of every type, and the server's
// refusals.
#ifndef TESTS_LIVE_PARAMETER_SUPPORT_H
#define TESTS_LIVE_PARAMETER_SUPPORT_H

#include "tests/live/live_support.h"
#include "tests/app_value.h"

// The server's codes of refusals.
inline constexpr char malformed[] = "08S01 error code 0 ";        // a frame
inline constexpr char invalid[] = "08S01 error code 8704 ";       // a value
inline constexpr char not_prepared[] = "08S01 error code 9472 ";  // an id that it does not know

// A session, and a keyspace of its own. Names of tables are written with it: the server warns of
// prepared statements that depend on a USE.
struct parameter_session {
    live_ptr live = live_logged_on();
    SQLHSTMT stmt = live->stmt;
    std::string keyspace;
    std::string table;  // "keyspace.t", with a column of every type

    explicit parameter_session(const std::string &name) : keyspace(name), table(name + ".t")
    {
        make_keyspace(stmt, name);
        run(stmt, "CREATE TYPE " + name + ".pair (a int, b text)");
        run(stmt,
            "CREATE TABLE " + table +
                " (k int PRIMARY KEY, c_ascii ascii, c_bigint bigint, c_blob blob, "
                "c_boolean boolean, c_date date, c_decimal decimal, c_double double, "
                "c_duration duration, c_float float, c_inet inet, c_int int, c_list list<int>, "
                "c_map map<text, int>, c_set set<text>, c_smallint smallint, c_text text, "
                "c_time time, c_timestamp timestamp, c_timeuuid timeuuid, c_tinyint tinyint, "
                "c_tuple tuple<int, text>, c_udt frozen<pair>, c_uuid uuid, c_varint varint, "
                "c_vector vector<float, 3>)");
    }
};

#endif
