// The one private function of the library: trying settings out.
#ifndef DLL_DRIVER_TEST_H
#define DLL_DRIVER_TEST_H

#include "core/session/cass_settings.h"

// Room that a caller gives for the message, its terminator included.
constexpr int DRIVER_TEST_MESSAGE_SIZE = 1100;

// Connects with the block's settings and disconnects again. 0 when that worked, else 1, with a
// message in UTF-8 in `message` (DRIVER_TEST_MESSAGE_SIZE bytes; null: none is wanted). A refused
// keyspace is no failure, as in SQLConnect; the message tells of it.
extern "C" int driver_test(cass_settings_block *block, char *message);

#endif
