#include "core/catalog/cass_release.h"

#include <cstdio>

#include "core/catalog/cass_clist.h"
#include "core/diag/cass_err.h"
#include "core/handle/cass_handle.h"

static constexpr char log_source[] = "cass_release.c";

// "5.0-beta1" is 5.0.0, as what follows no number counts as 0.
static void write_release(const char *spelled, char (&release)[RELEASE_ROOM])
{
    unsigned major = 0, minor = 0, patch = 0;
    std::sscanf(spelled, "%2u.%2u.%4u", &major, &minor, &patch);
    std::snprintf(release, sizeof release, "%02u.%02u.%04u %s", major, minor, patch, spelled);
}

int cass_server_release(cass_conn *conn, char (&release)[RELEASE_ROOM])
{
    const held_stmt stmt(cass_alloc_throwaway_stmt(conn));
    if (stmt == nullptr)
        return cass_post_no_memory(&conn->head, log_source, "cass_server_release");
    const held_inner inner =
        catalog_run(stmt.get(), catalog_select("SELECT release_version FROM system.local"));
    char spelled[64];
    const int row = inner == nullptr ? -1 : catalog_next_row(stmt.get(), inner.get());
    if (row == 1 && catalog_cell(inner.get(), 1, spelled, sizeof spelled) != nullptr) {
        write_release(spelled, release);
        return 0;
    }
    cass_diag_copy_all(&conn->head, &stmt->head);
    if (cass_diag_count(&conn->head) > 0)
        return -1;
    // What failed without a word found no memory.
    if (row < 0)
        return cass_post_no_memory(&conn->head, log_source, "cass_server_release");
    cass_post_error(&conn->head, STATE_HY000, 0, "the server tells no release");
    return -1;
}
