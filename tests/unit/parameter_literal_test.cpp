// From CQL literals to the bytes of nested types, of durations and of vectors.
#include "core/wire/cql_class.h"
#include "tests/unit/parameter_rig.h"

// The marker is of the type that a class text names.
static void check(const std::string &type, const std::vector<sample> &literals)
{
    session s(false);
    const held_string name(cass_string_from_cstr(type.c_str()));
    int room = 1000;
    cass_field &marker = marker_of(s);
    marker.cql_type = CQL_CUSTOM;
    ASSERT_TRUE(type_option_from_class(name.get(), 60, &room, &marker.type_tree));
    ASSERT_NE(marker.type_tree, nullptr) << type;
    check(s, SQL_VARCHAR, literals);
}

// clang-format off
TEST(parameter_literal, collections)
{
    check("ListType(Int32Type)", {{"[1, -2]", "00000002 00000004 00000001 00000004 fffffffe"},
        {u" [ ] ", "00000000"}, {"[null]", unreadable}, {"['7']", "00000001 00000004 00000007"},
        {"[1", unreadable}, {"[1,]", unreadable}, {"[1 2]", unreadable}, {"{1}", unreadable},
        {"[1]]", unreadable}, {"", unreadable}, {"null", unreadable}, {"[99999999999]", overflow},
        {"[1.5]", "22001@1"}, {"[']", unreadable}, {std::string("[\0]", 3), unreadable},
        {1, restricted}, {binary("any"), "616e79"}});
    check("SetType(UTF8Type)", {{"{'it''s', ''}", "00000002 00000004 69742773 00000000"},
        {std::string("{'a\0'}", 6), "00000001 00000002 6100"},
        {u"{'\u017C\xD83D\xDE00, {}'}", "00000001 0000000a c5bcf09f9880 2c207b7d"},
        {"{a}", unreadable}, {"['a']", unreadable}, {u"{'\xD83D'}", unreadable}});
    check("MapType(UTF8Type,FrozenType(ListType(BooleanType)))",
        {{"{'a': [true, false]}", "00000001 00000001 61 0000000e 00000002 00000001 01 00000001 00"},
        {"{'a'}", unreadable}, {"{null: []}", unreadable}, {"{'a': null}", unreadable}});
    check("ListType(TimestampType)", {{"[-1]", "00000001 00000008 ffffffffffffffff"},
        {"['1970-01-01T00:00:00.001Z']", "00000001 00000008 0000000000000001"},
        {"[1970-01-01]", unreadable}});
    check("ListType(SimpleDateType)",
        {{"['1970-01-01', 4294967295]", "00000002 00000004 80000000 00000004 ffffffff"},
        {"[-1]", overflow}, {"[4294967296]", overflow}});
    check("ListType(TimeType)", {{"[86399999999999]", "00000001 00000008 00004e94914effff"},
        {"[86400000000000]", overflow}});
    check("ListType(BytesType)", {{"[0xCAFE, '']", "00000002 00000002 cafe 00000000"},
        {"[0xc]", unreadable}});
    check("ListType(UUIDType)", {{"[00000001-0002-0003-090a-0b0c0d0e0fff]",
        "00000001 00000010 0000000100020003090a0b0c0d0e0fff"}});
    check("ListType(FrozenType(ListType(Int32Type)))",
        {{"[[], []]", "00000002 00000004 00000000 00000004 00000000"},
        {std::string(1'000'000, '['), unreadable}});
}

TEST(parameter_literal, tuples_and_user_types)
{
    check("TupleType(Int32Type,UTF8Type)", {{"(1, 'x')", "00000004 00000001 00000001 78"},
        {"(1)", "00000004 00000001 ffffffff"}, {"(null, null)", "ffffffff ffffffff"},
        {"(1, 'x', 2)", unreadable}, {"()", unreadable}, {"1", unreadable}});
    // Fields "n", "Name" and "a\"b" of a type "u".
    check("UserType(k,75,6e:Int32Type,4e616d65:UTF8Type,612262:FrozenType(TupleType(Int32Type)))",
        {{"{\"a\"\"b\": (2), N: 1, \"Name\": '}'}",
        "00000004 00000001 00000001 7d 00000008 00000004 00000002"},
        {"{}", "ffffffff ffffffff ffffffff"}, {"{n : 1}", "00000004 00000001 ffffffff ffffffff"},
        {"{Name: 'x'}", unreadable}, {"{n: 1, n: 1}", unreadable}, {"{n: }", unreadable},
        {"{n: 1", unreadable}, {"{\"n: 1}", unreadable}});
}

TEST(parameter_literal, vectors_and_durations)
{
    check("VectorType(FloatType , 2)", {{"[0.5, -1]", "3f000000 bf800000"}, {"[1]", unreadable},
        {"[1, 2, 3]", unreadable}, {"[1, null]", unreadable}});
    check("VectorType(VectorType(Int32Type,1),2)", {{"[[1], [2]]", "00000001 00000002"}});
    check("VectorType(ShortType,2)", {{"[1, 2]", "02 0001 02 0002"}});
    const std::string long_text(200, 'a'), longer_text(300, 'b');
    check("VectorType(UTF8Type,3)", {{"['', '" + long_text + "', '" + longer_text + "']",
        "00 80c8" + to_hex(long_text) + "812c" + to_hex(longer_text)}});
    check("ListType(DurationType)", {{"[1d]", "00000001 00000003 000200"}});
    check("DurationType", {{"2mo3d4h5m6s7ms8us9ns", "04 06 fc1ac004a5c612"}, {"-1ns", "00 00 01"},
        {"0s", "00 00 00"}, {"1Y1W", "18 0e 00"}, {"P2M3DT4H", "04 06 fc1a3185c50000"},
        {"-P1Y", "17 00 00"}, {"5\xC2\xB5s", "00 00 a710"}, {"2147483647mo", "f0fffffffe 00 00"},
        {"2147483648d", overflow}, {"9223372036854775808ns", overflow},
        {"9999999999999h", overflow}, {"1d1mo", unreadable}, {"d", unreadable}, {"5", unreadable},
        {"", unreadable}, {"P", unreadable}, {1, restricted}});
}
// clang-format on
