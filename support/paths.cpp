#include "support/paths.h"

#include <unistd.h>

char *cass_setting_path(const cass_string *setting)
{
    held_text path(cass_string_to_utf8(setting));
    if (path != nullptr && access(path.get(), F_OK) != 0) {
        held_text plain(cass_string_to_ascii(setting));
        if (plain == nullptr || access(plain.get(), F_OK) == 0)
            return plain.release();
    }
    return path.release();
}
