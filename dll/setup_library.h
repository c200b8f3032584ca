// The dialogs of the setup library, which is loaded for one call and let go.
#ifndef DLL_SETUP_LIBRARY_H
#define DLL_SETUP_LIBRARY_H

#include "core/session/cass_settings.h"

// 0 with the block filled, otherwise what SQLDriverConnect returns (100 when there is no setup
// library).
int cass_prompt_settings(cass_conn *conn, SQLHWND window, cass_settings_block *block);
void cass_show_errors(cass_conn *conn, const char *text, SQLHWND window);

#endif
