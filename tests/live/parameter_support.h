// What the live tests of parameters share: a keyspace with a table of every type, bindings in one
// line, and the server's refusals.
#ifndef TESTS_LIVE_PARAMETER_SUPPORT_H
#define TESTS_LIVE_PARAMETER_SUPPORT_H

#include "tests/live/live_support.h"

// The server's codes of refusals.
inline constexpr char malformed[] = "08S01 error code 0 ";        // a frame
inline constexpr char protocol_error[] = "08S01 error code 10 ";  // a text in it
inline constexpr char invalid[] = "08S01 error code 8704 ";       // a value
inline constexpr char not_prepared[] = "08S01 error code 9472 ";  // an id that it does not know

inline live_ptr parameter_session(const std::string &keyspace)
{
    live_ptr live = live_logged_on();
    make_keyspace(live->stmt, keyspace);
    run(live->stmt, "CREATE TYPE " + keyspace + ".pair (a int, b text)");
    run(live->stmt,
        "CREATE TABLE " + keyspace +
            ".t (k int PRIMARY KEY, c_ascii ascii, c_bigint bigint, "
            "c_blob blob, c_boolean boolean, c_date date, c_decimal decimal, c_double double, "
            "c_duration duration, c_float float, c_inet inet, c_int int, c_list list<int>, "
            "c_map map<text, int>, c_set set<text>, c_smallint smallint, c_text text, c_time time, "
            "c_timestamp timestamp, c_timeuuid timeuuid, c_tinyint tinyint, c_tuple tuple<int, "
            "text>, "
            "c_udt frozen<pair>, c_uuid uuid, c_varint varint, c_vector vector<float, 3>)");
    run(live->stmt, "CREATE TABLE " + keyspace + ".counts (k int PRIMARY KEY, c counter)");
    return live;
}

inline void bind(SQLHSTMT stmt, int number, int c_type, int sql_type, void *data, SQLLEN *indicator,
                 SQLLEN buffer_length = 0, SQLULEN size = 38, int digits = 0)
{
    EXPECT_STMT(SQL_SUCCESS, stmt,
                SQLBindParameter(stmt, static_cast<SQLUSMALLINT>(number), SQL_PARAM_INPUT,
                                 static_cast<SQLSMALLINT>(c_type),
                                 static_cast<SQLSMALLINT>(sql_type), size,
                                 static_cast<SQLSMALLINT>(digits), data, buffer_length, indicator));
}

#endif
