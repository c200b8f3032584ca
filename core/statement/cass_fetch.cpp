// Fetching: walks the current page row by row, requests the next one when it runs out, and fills
// the rowset. The cursor is forward-only and holds exactly one page; a row is decoded whole, so
// that columns may be read in any order until the next fetch.
#include "core/statement/cass_fetch.h"

#include <cstdlib>

#include "core/cell/cass_data.h"
#include "core/describe/cass_field.h"
#include "core/diag/cass_err.h"
#include "core/local/cass_internalrs.h"
#include "core/log/cass_log.h"
#include "core/net/cass_conn_shared.h"
#include "core/statement/cass_pkt_exchange.h"
#include "core/statement/cass_scroll.h"

static constexpr char log_source[] = "cass_fetch.c";

static void clear_cell(cass_data_storage *cell)
{
    if (cell->data_type == SQL_CHAR || cell->data_type == SQL_BINARY)
        cell->value.bytes = nullptr;
    cell->isnull = 0;
    cell->alloc_length = 0;
    cell->offset = 0;
    cell->finished = 0;
}

// Cells of the columns from `first` on. The blocks of text and binary cells stay with their
// columns.
static void clear_cells(cass_desc *ird, std::int32_t first)
{
    for (std::int32_t column = first; column < ird->field_count; ++column)
        clear_cell(&ird->fields[column].data_storage);
}

// Forgets the row's cells; fixed-width values and storage types stay.
static void cass_clear_row_data(cass_stmt *stmt)
{
    clear_cells(stmt->ird, 0);
}

// Behind the last row of a page: gives back the blocks of text and binary cells that are much
// larger than all of the page's bytes.
static void end_page(cass_stmt *stmt)
{
    cass_clear_row_data(stmt);
    const auto page = static_cast<std::size_t>(stmt->page.current_packet->length);
    for (std::int32_t column = 0; column < stmt->ird->field_count; ++column) {
        cass_data_storage *cell = &stmt->ird->fields[column].data_storage;
        if (!cass_block_outgrown(cell->capacity, page))
            continue;
        std::free(cell->buffer);
        cell->buffer = nullptr;
        cell->capacity = 0;
    }
}

static bool lost_page_leaves_emptied_row(const cass_conn *conn)
{
    return conn->conduct->lost_page_leaves_emptied_row;
}

// Replaces the page that ran out. A reply without rows installs no page, and then the result ends.
static SQLRETURN next_page(cass_stmt *stmt, bool *page_failed)
{
    const cass_packet *before = stmt->page.current_packet;
    if (cass_fetch_next_page(stmt) < 0) {
        // Without its paging state the result ends at the next fetch: a dead connection must not
        // give endless rows. Where the failure is told, a page may be asked for again.
        if (!stmt->failed_for_now || lost_page_leaves_emptied_row(stmt_conn(stmt)))
            cass_page_end(&stmt->page);
        stmt->page.page_failed = 1;
        // Want of memory is an error of the fetch; of any other failure the transfer decides.
        *page_failed = stmt->no_memory == 0;
        return SQL_ERROR;
    }
    if (stmt->page.current_packet == before)
        cass_page_end(&stmt->page);
    return SQL_SUCCESS;
}

// The cell's length is taken, its bytes stay: rows whose cell is NULL keep the page in step.
static SQLRETURN type_without_decoder(cass_stmt *stmt, cass_packet *packet, std::int32_t cql_type)
{
    if (cass_take_cell_length(stmt, packet) != SQL_SUCCESS)
        return SQL_ERROR;
    CASS_LOG(&stmt->head, LOG_ERROR, "fetch_data_row: type not supported %d", cql_type);
    cass_post_error(&stmt->head, cass_malformed_state(stmt), 0, "type not supported %d", cql_type);
    return SQL_ERROR;
}

static SQLRETURN decode_row(cass_stmt *stmt)
{
    cass_desc *ird = stmt->ird;
    cass_packet *packet = stmt->page.current_packet;
    const std::int32_t columns = cass_stmt_column_count(ird);
    for (std::int32_t column = 0; column < columns; ++column) {
        cass_field *field = &ird->fields[column];
        const SQLRETURN code = field->decode != nullptr
                                   ? field->decode(stmt, packet, field)
                                   : type_without_decoder(stmt, packet, field->cql_type);
        if (code != SQL_SUCCESS) [[unlikely]] {
            clear_cells(ird, column);  // of the row before
            return code;
        }
    }
    return SQL_SUCCESS;
}

// Decoding a cell replaces all of it, so that the row before need only be forgotten where no new
// row takes its place.
SQLRETURN fetch_data_row(cass_stmt *stmt, bool *page_failed)
{
    while (stmt->page.current_row_offset >= stmt->page.current_row_count) {
        if (stmt->cursor != nullptr) {
            if (cass_show_row(stmt))
                break;
            return SQL_NO_DATA;
        }
        end_page(stmt);
        if (stmt->page.paging_state_len < 1)
            return SQL_NO_DATA;
        const SQLRETURN code = next_page(stmt, page_failed);
        if (code != SQL_SUCCESS)
            return code;
    }
    ++stmt->page.current_row_offset;
    return decode_row(stmt);
}

// fetch_data_row between its log records.
static SQLRETURN cass_fetch_row(cass_stmt *stmt, bool *page_failed)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "cass_fetch_row: statement_handle=%p",
             static_cast<void *>(stmt));
    if (stmt->page.current_packet == nullptr) {
        CASS_LOG(&stmt->head, LOG_DETAIL, "cass_fetch_row: current packet is NULL");
        return SQL_NO_DATA;
    }
    CASS_LOG(&stmt->head, LOG_DETAIL, "cass_fetch_row: current_row_count=%d, current_row_offset=%d",
             stmt->page.current_row_count, stmt->page.current_row_offset);
    const SQLRETURN code = fetch_data_row(stmt, page_failed);
    CASS_LOG(&stmt->head, LOG_DETAIL, "cass_fetch_row: return value=%d", static_cast<int>(code));
    return code;
}

void cass_flush_rows(cass_stmt *stmt)
{
    bool page_failed = false;
    while (cass_fetch_row(stmt, &page_failed) == SQL_SUCCESS) {
    }
}

// ---- Rowsets -----------------------------------------------------------------------------------

// The application's status array and rows-fetched counter, both of which it may not have given.
struct rowset_outputs {
    SQLUSMALLINT *status;
    void *rows_fetched;  // SQLULEN
};

static void store_status(const rowset_outputs &out, SQLULEN row, SQLUSMALLINT status)
{
    if (out.status != nullptr)
        std::memcpy(out.status + row, &status, sizeof status);
}

static void store_rows_fetched(const rowset_outputs &out, SQLULEN rows)
{
    if (out.rows_fetched != nullptr)
        std::memcpy(out.rows_fetched, &rows, sizeof rows);
}

static bool has_local_row(const cass_stmt *stmt)
{
    return stmt->internal_rs != nullptr && !stmt->internal_rs->row_lost;
}

static bool local_row_is_transferred_twice(const cass_conn *conn)
{
    return conn->conduct->local_row_is_transferred_twice;
}

// A local row that is transferred here is so again by the caller, whose verdict counts: what the
// first transfer delivered whole is passed over, and a text that it cut goes on in the same buffer.
static SQLRETURN fetch_local_row(cass_stmt *stmt)
{
    const SQLRETURN code = cass_fetch_internal_row(stmt, SQL_FETCH_NEXT, 0);
    if (stmt->internal_rs->row_lost)
        cass_clear_row_data(stmt);
    return code == SQL_SUCCESS && local_row_is_transferred_twice(stmt_conn(stmt))
               ? transfer_bound_columns(stmt, 1)
               : code;
}

// One row into the IRD and from there into the bound columns.
static SQLRETURN fetch_row_and_transfer(cass_stmt *stmt, bool *page_failed)
{
    *page_failed = false;
    SQLRETURN code =
        stmt->internal_rs != nullptr ? fetch_local_row(stmt) : cass_fetch_row(stmt, page_failed);
    CASS_LOG(&stmt->head, LOG_DETAIL, "fetch returned %d", static_cast<int>(code));
    if (code == SQL_NO_DATA) {
        stmt->data_waiting = 0;
        cass_set_busy(stmt_conn(stmt), {});
        return code;
    }
    // A row whose cell cannot be decoded is an error. A next page that did not come leaves its
    // record, and the emptied row is transferred: the verdict of that decides.
    if (code == SQL_ERROR && !has_local_row(stmt) &&
        !(*page_failed && lost_page_leaves_emptied_row(stmt_conn(stmt))))
        return code;
    code = transfer_bound_columns(stmt, 1);
    CASS_LOG(&stmt->head, LOG_DETAIL, "transfer_bound_columns returns %r", static_cast<int>(code));
    return code;
}

static SQLUSMALLINT row_status(SQLRETURN code)
{
    if (code == SQL_SUCCESS)
        return SQL_ROW_SUCCESS;
    return code == SQL_SUCCESS_WITH_INFO ? SQL_ROW_SUCCESS_WITH_INFO : SQL_ROW_ERROR;
}

// A page that did not come ends a rowset whose rows so far are good: its records, which name no
// row, wait for the next fetch.
static void keep_records(cass_stmt *stmt)
{
    cass_diag_take_without_row(&stmt->head, &stmt->kept_records);
}

static bool tell_kept_records(cass_stmt *stmt)
{
    if (stmt->kept_records == nullptr)
        return false;
    cass_diag_give_back(&stmt->head, &stmt->kept_records);
    return true;
}

static bool rowset_of_several_is_success(const cass_conn *conn)
{
    return conn->conduct->rowset_of_several_is_success;
}

static bool data_is_read_behind_a_rowset(const cass_conn *conn)
{
    return conn->conduct->data_is_read_behind_a_rowset;
}

// SQLGetData cannot be told which row of several it should read; a cursor that scrolls is on the
// first one.
static void close_cells(cass_stmt *stmt, bool first_failed)
{
    if (data_is_read_behind_a_rowset(stmt_conn(stmt)) ||
        (stmt->cursor != nullptr && !first_failed && cass_return_to_start(stmt)))
        return;
    for (std::int32_t column = 0; column < stmt->ird->field_count; column++)
        stmt->ird->fields[column].data_storage.finished = CELL_OF_ROWSET;
}

// What a rowset has met beside rows that simply came.
struct rowset_tally {
    SQLULEN failed_rows;
    bool told;         // a row was cut or failed
    bool page_failed;  // the rowset ends since a next page did not come
    bool first_failed;
};

// A row that did not simply come. Where rows stand by themselves one that fails does so alone, and
// its records name it. False when the rowset ends in front of it.
[[gnu::cold, gnu::noinline]] static bool goes_on(cass_stmt *stmt, SQLRETURN code, SQLULEN row,
                                                 rowset_tally *tally)
{
    const bool alone = !rowset_of_several_is_success(stmt_conn(stmt));
    if (!SQL_SUCCEEDED(code) && (!alone || code == SQL_NO_DATA || tally->page_failed))
        return false;
    if (!SQL_SUCCEEDED(code)) {
        tally->failed_rows += 1;
        tally->first_failed |= row == 0;
        if (stmt->cursor != nullptr)  // it may have ended inside its row: the next one is sought
            stmt->page.current_row_offset = stmt->page.current_row_count;
    }
    tally->told = true;
    if (alone)
        cass_diag_name_row(&stmt->head, static_cast<std::int32_t>(row + 1));
    return true;
}

// The code of a rowset of several rows of which some came.
static SQLRETURN rowset_code(cass_stmt *stmt, SQLULEN rows, const rowset_tally &tally)
{
    close_cells(stmt, tally.first_failed);
    // The status array and the records tell of truncation and errors.
    if (rowset_of_several_is_success(stmt_conn(stmt)))
        return SQL_SUCCESS;
    if (tally.page_failed)
        keep_records(stmt);
    if (tally.failed_rows == rows)
        return SQL_ERROR;
    return tally.told ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS;
}

SQLRETURN fetch_rowset(cass_stmt *stmt)
{
    const rowset_outputs out = {stmt->ird->array_status_ptr, stmt->ird->rows_processed_ptr};
    const SQLULEN array_size = stmt->ard->array_size;
    CASS_LOG(&stmt->head, LOG_DETAIL, "array_status_ptr=%p, rows_processed_ptr=%p",
             static_cast<void *>(out.status), out.rows_fetched);
    store_rows_fetched(out, 0);
    CASS_LOG(&stmt->head, LOG_DETAIL, "array_size=%d", static_cast<int>(array_size));

    SQLRETURN code = SQL_ERROR;
    SQLULEN rows = 0;
    rowset_tally tally = {};
    for (; rows < array_size; ++rows) {
        CASS_LOG(&stmt->head, LOG_DETAIL, "fetching row %d of %d", static_cast<int>(rows),
                 static_cast<int>(array_size));
        stmt->rowset_position = rows;
        code = fetch_row_and_transfer(stmt, &tally.page_failed);
        if (code != SQL_SUCCESS && !goes_on(stmt, code, rows, &tally)) [[unlikely]]
            break;
        store_status(out, rows, row_status(code));
        store_rows_fetched(out, rows + 1);
    }
    if (rows < array_size) {
        const bool rest_failed =
            code == SQL_ERROR && (rows == 0 || rowset_of_several_is_success(stmt_conn(stmt)));
        for (SQLULEN row = rows; row < array_size; ++row)
            store_status(out, row, rest_failed ? SQL_ROW_ERROR : SQL_ROW_NOROW);
    }
    return rows < 1 || array_size < 2 ? code : rowset_code(stmt, rows, tally);
}

// The rows of a cursor are its own.
[[gnu::cold, gnu::noinline]] static SQLRETURN fetch_elsewhere(cass_stmt *stmt, SQLSMALLINT mode,
                                                              SQLLEN offset)
{
    if (stmt->cursor != nullptr)
        return cass_scroll(stmt, mode, offset);
    CASS_LOG(&stmt->head, LOG_DETAIL, "cass_fetch: No current resutset");
    return SQL_NO_DATA;
}

SQLRETURN cass_fetch(cass_stmt *stmt, SQLSMALLINT mode, SQLLEN offset)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "cass_fetch: statement_handle=%p, mode=%d, offset=%d",
             static_cast<void *>(stmt), mode, static_cast<int>(offset));
    if (stmt->page.current_packet == nullptr && stmt->internal_rs == nullptr)
        return fetch_elsewhere(stmt, mode, offset);
    if (mode != SQL_FETCH_NEXT) {
        CASS_LOG(&stmt->head, LOG_ERROR, "cass_fetch_row: fetch type out of range");
        cass_post_error(&stmt->head, STATE_HY106, 0, nullptr);
        return SQL_ERROR;
    }
    // One-sided on purpose: SQL_FETCH_NEXT ignores the offset, and applications pass 0, 1 or
    // rubbish below it.
    if (offset >= 2) {
        CASS_LOG(&stmt->head, LOG_ERROR, "cass_fetch_row: row value out of range");
        cass_post_error(&stmt->head, STATE_HY107, 0, nullptr);
        return SQL_ERROR;
    }
    const SQLRETURN code = tell_kept_records(stmt) ? SQL_ERROR : fetch_rowset(stmt);
    CASS_LOG(&stmt->head, LOG_DETAIL, "cass_fetch: return value=%d", static_cast<int>(code));
    return code;
}
