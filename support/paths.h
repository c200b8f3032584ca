// Names of files.
#ifndef SUPPORT_PATHS_H
#define SUPPORT_PATHS_H

#include "support/strfunc.h"

// A setting that names a file, as the file system knows it: UTF-8, or the plain bytes where only
// those name a file (an ANSI application's UTF-8 has been widened byte for byte). The caller frees
// it; null when memory ran out.
char *cass_setting_path(const cass_string *setting);

#endif
