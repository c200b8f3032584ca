// The dialogs that the driver does not have itself: the setup library is loaded for one call and
// unloaded behind it. It stands beside the "Setup" file of the driver's entry in odbcinst.ini, or
// where the dynamic loader finds it by its bare name.
#include "dll/setup_library.h"

#include <dlfcn.h>

#include <cstdio>
#include <string>

#include "support/held.h"
#include "support/installer.h"

static constexpr char driver_section[] = "Varnholt ODBC-Cassandra Driver";
static constexpr char library_name[] = "libvhcassS.so";

// What the library exports. complete_info fills the block: 0, or a value that ends the call (a
// user's cancel). complete_error shows a text.
extern "C" {
using complete_info_call = int(void *conn, SQLHWND window, cass_settings_block *block);
using complete_error_call = void(void *conn, const char *text, SQLHWND window);
}

static void close_library(void *library)
{
    dlclose(library);
}

using held_library = held<void, &close_library>;

// The path beside the "Setup" file, empty when there is no such value or it names no folder.
static std::string registered_path()
{
    char setup[512] = "";
    cass_get_private_profile_string(driver_section, "Setup", "", setup, sizeof setup,
                                    "odbcinst.ini");
    setup[sizeof setup - 1] = '\0';
    std::string path(setup);
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return {};
    return path.substr(0, slash + 1) + library_name;
}

// The library, or null. *tried is the name looked for last.
static held_library open_setup_library(std::string *tried)
{
    *tried = registered_path();
    void *library = tried->empty() ? nullptr : dlopen(tried->c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        *tried = library_name;
        library = dlopen(library_name, RTLD_NOW | RTLD_LOCAL);
    }
    return held_library(library);
}

// One of its exports, or null with the complaint on standard error.
static void *find_export(const held_library &library, const char *name, const std::string &tried)
{
    void *found = library == nullptr ? nullptr : dlsym(library.get(), name);
    if (found == nullptr)
        std::fprintf(stderr, "Varnholt ODBC: Unable to load setup library (%s)\n", tried.c_str());
    return found;
}

int cass_prompt_settings(cass_conn *conn, SQLHWND window, cass_settings_block *block)
{
    std::string tried;
    const held_library library = open_setup_library(&tried);
    void *found = find_export(library, "complete_info", tried);
    if (found == nullptr)
        return SQL_NO_DATA;
    return reinterpret_cast<complete_info_call *>(found)(conn, window, block);
}

void cass_show_errors(cass_conn *conn, const char *text, SQLHWND window)
{
    std::string tried;
    const held_library library = open_setup_library(&tried);
    void *found = find_export(library, "complete_error", tried);
    if (found != nullptr)
        reinterpret_cast<complete_error_call *>(found)(conn, text, window);
}
