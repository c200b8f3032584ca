// SQLCancel of another thread: it ends the call that the statement is in, at its request that waits
// for a reply or at the next one. A call that has begun and not ended is the outermost of the
// functions that run inside cass_cancellable; the ones within it belong to it.
#ifndef CORE_STATEMENT_CASS_CANCEL_H
#define CORE_STATEMENT_CASS_CANCEL_H

#include "core/record/cass_handles.h"

// True for the outermost call, which is to be ended.
bool cass_call_begin(cass_stmt *stmt);
void cass_call_end(cass_stmt *stmt);

// Runs `body()` as a call that SQLCancel can end. What it gives.
template <typename Body>
inline auto cass_cancellable(cass_stmt *stmt, Body body)
{
    const bool outermost = cass_call_begin(stmt);
    const auto result = body();
    if (outermost)
        cass_call_end(stmt);
    return result;
}

// Ends the call that another thread is in, by HY008. Without one nothing happens. No lock is
// taken.
void cass_cancel(cass_stmt *stmt);

#endif
