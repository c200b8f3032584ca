// The library's own entry. Nothing happens at load and unload: all start-up work hangs on the first
// environment.
#include "odbc/entry_frame.h"

VHCASS_EXPORT int DllMain(void *, unsigned, void *)
{
    return 1;
}
