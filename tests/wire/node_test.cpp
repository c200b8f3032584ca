// The scripted server complains of what its script does not hold.
#include <gtest/gtest-spi.h>

#include "tests/wire/wire_support.h"

static void ask_something_else()
{
    const wire_ptr wire = wire_logged_on();
    expect_query(wire->node.get(), "right", {void_frame()});
    exec(wire->stmt, "wrong");
}

static void ask_nothing()
{
    const wire_ptr wire = wire_logged_on();
    expect_query(wire->node.get(), "right", {void_frame()});
}

static void ask_too_much()
{
    exec(wire_logged_on()->stmt, "wrong");
}

TEST(node, complains_of_what_its_script_does_not_hold)
{
    EXPECT_NONFATAL_FAILURE(ask_something_else(), "expected opcode 7, body of 16");
    EXPECT_NONFATAL_FAILURE(ask_nothing(), "never came: opcode 7, body of 16");
    EXPECT_NONFATAL_FAILURE(ask_too_much(), "expected nothing more, came opcode 7");
}
