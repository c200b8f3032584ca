// What the live tests of types and parameters share: a table of every type, and the server's
// refusals.
#ifndef TESTS_LIVE_PARAMETER_SUPPORT_H
#define TESTS_LIVE_PARAMETER_SUPPORT_H

#include "tests/app_value.h"
#include "tests/live/live_support.h"

// The server's codes of refusals.
inline constexpr char malformed[] = "08S01 error code 0 ";        // a frame
inline constexpr char invalid[] = "08S01 error code 8704 ";       // a value
inline constexpr char not_prepared[] = "08S01 error code 9472 ";  // an id that it does not know

// Names of tables are written with the keyspace: the server warns of prepared statements that
// depend on a USE.
struct live_parameters : live_test {
    std::string table;  // "keyspace.t", with a column of every type

    void make_table(const std::string &keyspace)
    {
        table = keyspace + ".t";
        make_keyspace(stmt, keyspace);
        run(stmt, "CREATE TYPE " + keyspace + ".pair (a int, b text)");
        run(stmt, "CREATE TABLE " + table +
                      " (k int PRIMARY KEY, c_ascii ascii, c_bigint bigint, c_blob blob, "
                      "c_boolean boolean, c_date date, c_decimal decimal, c_double double, "
                      "c_duration duration, c_float float, c_inet inet, c_int int, "
                      "c_list list<int>, c_map map<text, int>, c_set set<text>, "
                      "c_smallint smallint, c_text text, c_time time, c_timestamp timestamp, "
                      "c_timeuuid timeuuid, c_tinyint tinyint, c_tuple tuple<int, text>, "
                      "c_udt frozen<pair>, c_uuid uuid, c_varint varint, "
                      "c_vector vector<float, 3>)");
    }
};

#endif
