// The scripted server complains of what its script does not hold.
#include <gtest/gtest-spi.h>

#include "tests/wire/wire_support.h"

static void ask(const char *asked, bool expected)
{
    const wire_ptr wire = wire_logged_on();
    if (expected)
        expect_query(wire->node, "right", {void_frame()});
    if (asked != nullptr)
        exec(wire->stmt, asked);
}

TEST(node, complains_of_what_its_script_does_not_hold)
{
    EXPECT_NONFATAL_FAILURE(ask("wrong", true), "expected opcode 7, body of 16");
    EXPECT_NONFATAL_FAILURE(ask(nullptr, true), "never came: opcode 7, body of 16");
    EXPECT_NONFATAL_FAILURE(ask("wrong", false), "expected nothing more, came opcode 7");
}
