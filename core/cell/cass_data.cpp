// The way from a column's stored cell to the application: which member of the family serves a C
// type, SQL NULL, when a column counts as delivered, and the diagnostics that all members share.
// Because rows are decoded whole, columns can be read in any order; each keeps its own progress.
#include "core/cell/cass_data_internal.h"

#include <array>

#include "support/ascii.h"

static constexpr char log_source[] = "cass_data.c";

// Four words differ from the member's own, on purpose.
static constexpr cell_member char_member = {get_char, "char", "char", "char"};
static constexpr cell_member wchar_member = {get_wchar, "wchar", "wchar", "wchar"};
static constexpr cell_member binary_member = {get_binary, "binary", "binary", "binary"};
static constexpr cell_member numeric_member = {get_numeric, "numeric", "numeric", "numeric"};
static constexpr cell_member sbigint_member = {get_sbigint, "sbigint", "sbigint", "sbigint"};
static constexpr cell_member ubigint_member = {get_ubigint, "ubigint", "sbigint", "ubigint"};
static constexpr cell_member slong_member = {get_slong, "slong", "slong", "slong"};
static constexpr cell_member ulong_member = {get_ulong, "ulong", "ulong", "slong"};
static constexpr cell_member sshort_member = {get_sshort, "sshort", "sshort", "sshort"};
static constexpr cell_member ushort_member = {get_ushort, "ushort", "ushort", "ushort"};
static constexpr cell_member stiny_member = {get_stiny, "stiny", "stiny", "stiny"};
static constexpr cell_member utiny_member = {get_utiny, "utiny", "stiny", "utiny"};
static constexpr cell_member bit_member = {get_bit, "bit", "bit", "bit"};
static constexpr cell_member double_member = {get_double, "double", "double", "double"};
static constexpr cell_member float_member = {get_float, "float", "slong", "float"};
static constexpr cell_member date_member = {get_date, "date", "date", "date"};
static constexpr cell_member timep_member = {get_timep, "timep", "timep", "timep"};
static constexpr cell_member timestamp_member = {get_timestamp, "timestamp", "timestamp",
                                                 "timestamp"};
static constexpr cell_member guid_member = {get_guid, "guid", "guid", "guid"};

static constexpr const cell_member *member_of_type(std::int32_t target_type)
{
    switch (target_type) {
    case SQL_C_CHAR:
        return &char_member;
    case SQL_C_WCHAR:
        return &wchar_member;
    case SQL_C_BINARY:
        return &binary_member;
    case SQL_C_NUMERIC:
        return &numeric_member;
    case SQL_C_SBIGINT:
        return &sbigint_member;
    case SQL_C_UBIGINT:
        return &ubigint_member;
    case SQL_C_LONG:
    case SQL_C_SLONG:
        return &slong_member;
    case SQL_C_ULONG:
        return &ulong_member;
    case SQL_C_SHORT:
    case SQL_C_SSHORT:
        return &sshort_member;
    case SQL_C_USHORT:
        return &ushort_member;
    case SQL_C_TINYINT:
    case SQL_C_STINYINT:
        return &stiny_member;
    case SQL_C_UTINYINT:
        return &utiny_member;
    case SQL_C_BIT:
        return &bit_member;
    case SQL_C_DOUBLE:
        return &double_member;
    case SQL_C_FLOAT:
        return &float_member;
    case SQL_C_DATE:
    case SQL_C_TYPE_DATE:
        return &date_member;
    case SQL_C_TIME:
    case SQL_C_TYPE_TIME:
        return &timep_member;
    case SQL_C_TIMESTAMP:
    case SQL_C_TYPE_TIMESTAMP:
        return &timestamp_member;
    case SQL_C_GUID:
        return &guid_member;
    default:
        return nullptr;
    }
}

// The same as a table: one load a cell.
constexpr std::int32_t LOWEST_TYPE = SQL_C_UTINYINT;
constexpr std::int32_t HIGHEST_TYPE = SQL_C_TYPE_TIMESTAMP;
static constexpr auto member_table = [] {
    std::array<const cell_member *, HIGHEST_TYPE - LOWEST_TYPE + 1> table{};
    for (std::int32_t type = LOWEST_TYPE; type <= HIGHEST_TYPE; type++)
        table[static_cast<std::size_t>(type - LOWEST_TYPE)] = member_of_type(type);
    return table;
}();

// The member for a C type, or null. SQL_C_DEFAULT and SQL_ARD_TYPE are resolved before.
static inline const cell_member *member_for(std::int32_t target_type)
{
    if (target_type < LOWEST_TYPE || target_type > HIGHEST_TYPE) [[unlikely]]
        return nullptr;
    return member_table[static_cast<std::size_t>(target_type - LOWEST_TYPE)];
}

// C type of SQL_C_DEFAULT when a cell is read. Not the table that binding uses: SQL_TINYINT is
// signed here and unsigned there, and SQL_GUID is text here. Both are kept on purpose.
static std::int32_t default_target(const cass_stmt *stmt, std::int32_t consise_type)
{
    switch (consise_type) {
    case SQL_INTEGER:
        return SQL_C_LONG;
    case SQL_SMALLINT:
        return SQL_C_SHORT;
    case SQL_FLOAT:
    case SQL_DOUBLE:
        return SQL_C_DOUBLE;
    case SQL_REAL:
        return SQL_C_FLOAT;
    case SQL_DATE:
    case SQL_TYPE_DATE:
        return SQL_C_TYPE_DATE;
    case SQL_TIME:
    case SQL_TYPE_TIME:
        return SQL_C_TYPE_TIME;
    case SQL_TIMESTAMP:
    case SQL_TYPE_TIMESTAMP:
        return SQL_C_TYPE_TIMESTAMP;
    case SQL_BIGINT:
        return conn_env(stmt_conn(stmt))->odbc_version == SQL_OV_ODBC2 ? SQL_C_CHAR : SQL_C_SBIGINT;
    case SQL_CHAR:
    case SQL_VARCHAR:
    case SQL_LONGVARCHAR:
    case SQL_NUMERIC:
    case SQL_DECIMAL:
    case SQL_GUID:
        return SQL_C_CHAR;
    case SQL_WCHAR:
    case SQL_WVARCHAR:
    case SQL_WLONGVARCHAR:
        return SQL_C_WCHAR;
    case SQL_BIT:
        return SQL_C_BIT;
    case SQL_TINYINT:
        return SQL_C_STINYINT;
    case SQL_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY:
        return SQL_C_BINARY;
    default:
        return consise_type;
    }
}

// ---- Shared outcomes ---------------------------------------------------------------------------

// `words` announce it in the log; null when the caller has.
[[gnu::cold, gnu::noinline]] static void post_on_column(const cell_request &request,
                                                        cass_state_row row, const char *words)
{
    if (words != nullptr)
        CASS_LOG(&request.stmt->head, LOG_ERROR, "get_%s: %s for column %d", request.member->word,
                 words, static_cast<int>(request.column));
    cass_post_error_column(&request.stmt->head, row, 0, request.column, nullptr);
}

static bool null_without_indicator_is_warning(const cass_conn *conn)
{
    return conn->conduct->null_without_indicator_is_warning;
}

SQLRETURN cell_is_null(const cell_request &request)
{
    cass_store<SQLLEN>(request.indicator, SQL_NULL_DATA);
    cass_store<SQLLEN>(request.octets, 0);
    CASS_LOG(&request.stmt->head, LOG_DETAIL, "data is SQL_NULL");
    if (request.indicator != nullptr) [[likely]]
        return SQL_SUCCESS;
    post_on_column(request, STATE_22002, "NULL without an indicator");
    // As a warning it leaves the rest of a bound row to arrive.
    return null_without_indicator_is_warning(stmt_conn(request.stmt)) ? SQL_SUCCESS_WITH_INFO
                                                                      : SQL_ERROR;
}

SQLRETURN cell_truncated(const cell_request &request)
{
    post_on_column(request, STATE_01004, "value truncated");
    return SQL_SUCCESS_WITH_INFO;
}

static bool a_piece_may_be_empty(const cass_conn *conn)
{
    return conn->conduct->a_piece_may_be_empty;
}

static bool is_text_target(const cell_request &request)
{
    return request.member == &char_member || request.member == &wchar_member;
}

SQLRETURN cell_cut(const cell_request &request, SQLLEN used)
{
    if (used > 0 || !is_text_target(request) || a_piece_may_be_empty(stmt_conn(request.stmt)))
        return cell_truncated(request);
    post_on_column(request, STATE_HY090, "no room for a character");
    return SQL_ERROR;
}

SQLRETURN cell_fraction_lost(const cell_request &request)
{
    post_on_column(request, STATE_01S07, "fraction truncated");
    request.field->data_storage.finished = 1;
    return SQL_SUCCESS_WITH_INFO;
}

SQLRETURN cell_out_of_range(const cell_request &request, const char *words, int value)
{
    if (words != nullptr)
        CASS_LOG(&request.stmt->head, LOG_ERROR, words, value);
    post_on_column(request, STATE_22003, words == nullptr ? "value out of range" : nullptr);
    return SQL_ERROR;
}

SQLRETURN cell_no_such_date(const cell_request &request)
{
    post_on_column(request, STATE_22008, "date out of range");
    return SQL_ERROR;
}

SQLRETURN cell_not_numeric(const cell_request &request)
{
    return cell_not_read(request, "text that is no number");
}

SQLRETURN cell_not_read(const cell_request &request, const char *words)
{
    post_on_column(request, STATE_22018, words);
    return SQL_ERROR;
}

std::string_view cell_trimmed_text(const cell_request &request)
{
    const cass_data_storage &cell = request.field->data_storage;
    const auto *bytes = reinterpret_cast<const char *>(cell.value.bytes);
    return ascii_trimmed(
        {bytes, bytes == nullptr ? 0 : static_cast<std::size_t>(cell.alloc_length)});
}

SQLRETURN cell_not_convertible(const cell_request &request)
{
    const char *words = "conversion not possible";
    switch (request.field->data_storage.data_type) {
    case SQL_CHAR:
    case SQL_NUMERIC:
    case SQL_INTEGER:
    case SQL_FLOAT:
    case SQL_DOUBLE:
    case SQL_DATE:
    case SQL_TIMESTAMP:
    case SQL_BINARY:
    case SQL_BIGINT:
    case SQL_GUID:
    case CELL_WIRE:
        break;
    default:  // 0 before the first row, and on the bookmark record always
        CASS_LOG(&request.stmt->head, LOG_ERROR, "invalid get_%s on type %d",
                 request.member->invalid_word,
                 static_cast<int>(request.field->data_storage.data_type));
        words = nullptr;
        break;
    }
    post_on_column(request, STATE_07006, words);
    return SQL_ERROR;
}

// 07006 for a C type that no member serves; SQL_ERROR.
[[gnu::cold, gnu::noinline]] static SQLRETURN no_such_target(const cell_request &request,
                                                             std::int32_t target_type)
{
    CASS_LOG(&request.stmt->head, LOG_ERROR, "cass_get_data: invalid target type %d for column %d",
             static_cast<int>(target_type), static_cast<int>(request.column));
    post_on_column(request, STATE_07006, nullptr);
    return SQL_ERROR;
}

// ---- Dispatch ----------------------------------------------------------------------------------

// A decimal or varint whose digits did not fit when it was decoded has no value to convert.
static inline bool lost_numeric(const cass_data_storage &cell)
{
    return cell.data_type == SQL_NUMERIC && cell.value.numeric.precision == NUMERIC_TOO_LARGE;
}

static bool probe_uses_up_column(const cass_conn *conn)
{
    return conn->conduct->probe_uses_up_column;
}

static bool formatted_text_is_cut(const cass_conn *conn)
{
    return conn->conduct->formatted_text_is_cut;
}

bool cell_loses_rest(const cell_request &request)
{
    return formatted_text_is_cut(stmt_conn(request.stmt));
}

static bool a_failed_read_uses_up_column(const cass_conn *conn)
{
    return conn->conduct->a_failed_read_uses_up_column;
}

static bool a_read_needs_no_buffer(const cass_conn *conn)
{
    return conn->conduct->a_read_needs_no_buffer;
}

static bool is_read_in_pieces(const cell_request &request, const cass_data_storage &cell)
{
    return cell.data_type == SQL_CHAR || cell.data_type == SQL_BINARY ||
           cell.data_type == CELL_WIRE || (is_text_target(request) && !cell_loses_rest(request));
}

// A read that is no plain success. Text and binary stay open while pieces remain.
[[gnu::cold, gnu::noinline]] static SQLRETURN settle_other(const cell_request &request,
                                                           cass_data_storage *cell, int code)
{
    if (request.target == nullptr && !request.bound && code != SQL_ERROR &&
        !a_read_needs_no_buffer(stmt_conn(request.stmt))) {
        post_on_column(request, STATE_HY009, "no buffer");
        code = SQL_ERROR;
    }
    const bool in_pieces = is_read_in_pieces(request, *cell);
    bool stays_open = in_pieces ? code == SQL_SUCCESS_WITH_INFO
                                : request.target == nullptr && SQL_SUCCEEDED(code) &&
                                      !probe_uses_up_column(stmt_conn(request.stmt));
    if (code == SQL_ERROR)
        stays_open = !a_failed_read_uses_up_column(stmt_conn(request.stmt));
    if (!stays_open)
        cell->finished = 1;
    // A probe for the length ends quietly.
    const bool quiet = code == SQL_SUCCESS_WITH_INFO && request.buffer_length == 0;
    return static_cast<SQLRETURN>(quiet ? SQL_SUCCESS : code);
}

// Settles whether a column is delivered, and gives the code that the read ends with.
static inline SQLRETURN settle(const cell_request &request, cass_data_storage *cell, int code)
{
    if (code != SQL_SUCCESS || request.target == nullptr) [[unlikely]]
        return settle_other(request, cell, code);
    cell->finished = 1;
    return SQL_SUCCESS;
}

// The cell by the member for its target type, between the log records of a conversion.
[[gnu::always_inline]] static inline SQLRETURN convert_and_settle(cell_request *request,
                                                                  std::int32_t target_type)
{
    cass_data_storage *cell = &request->field->data_storage;
    request->member = member_for(target_type);
    if (request->member == nullptr) [[unlikely]]
        return settle_other(*request, cell, no_such_target(*request, target_type));
    if (request->logged) [[unlikely]]
        CASS_LOG(&request->stmt->head, LOG_DETAIL, "getting %s from %d", request->member->word,
                 static_cast<int>(cell->data_type));
    if (cell->isnull != 0)
        return settle(*request, cell, cell_is_null(*request));
    const int code = lost_numeric(*cell) ? cell_out_of_range(*request, nullptr, 0)
                                         : request->member->convert(*request);
    if (request->logged) [[unlikely]]
        CASS_LOG(&request->stmt->head, LOG_DETAIL, "finished getting %s return=%r",
                 request->member->finished_word, code);
    return settle(*request, cell, code);
}

// Record of a column, 0 being the bookmark record; null for one that the IRD does not have.
static inline cass_field *record_of(cass_stmt *stmt, std::int32_t column, cass_field *fields)
{
    const auto index = static_cast<std::uint32_t>(column - 1);
    if (index < static_cast<std::uint32_t>(stmt->ird->field_count)) [[likely]]
        return fields + index;
    return column == 0 ? &stmt->ird->bookmark_field : nullptr;
}

static bool ard_type_reads_column_in_front(const cass_conn *conn)
{
    return conn->conduct->ard_type_reads_column_in_front;
}

// SQL_ARD_TYPE: the type of the column's ARD record. By default it reads the column in front of the
// one named, for column 1 the bookmark record; this is deliberate. The column named is settled too,
// by what came of the other.
[[gnu::noinline]] static SQLRETURN get_by_ard(cell_request *request)
{
    if (request->column == 0)
        return no_such_target(*request, SQL_ARD_TYPE);
    const cass_desc *ard = request->stmt->ard;
    if (request->column > ard->field_count)
        return SQL_NO_DATA;

    const std::int32_t target_type = ard->fields[request->column - 1].consise_type;
    if (!ard_type_reads_column_in_front(stmt_conn(request->stmt)))
        return convert_and_settle(request, target_type);

    cass_data_storage *named = &request->field->data_storage;
    request->column -= 1;
    request->field = record_of(request->stmt, request->column, request->stmt->ird->fields);
    SQLRETURN code = SQL_NO_DATA;
    if (request->column == 0 || request->field->data_storage.finished == 0)
        code = convert_and_settle(request, target_type);
    return settle(*request, named, code);
}

[[gnu::cold, gnu::noinline]] static SQLRETURN no_more_data(const cell_request &request)
{
    if (request.field->data_storage.finished != CELL_OF_ROWSET)
        return SQL_NO_DATA;
    post_on_column(request, STATE_HYC00, "no single row");
    return SQL_ERROR;
}

// Inlined into SQLGetData's road; rows of bound columns call it.
[[gnu::always_inline]] static inline SQLRETURN get_cell(cell_request *request,
                                                        std::int32_t target_type)
{
    if (request->field->data_storage.finished != 0 && request->column != 0)
        return no_more_data(*request);
    if (target_type == SQL_ARD_TYPE) [[unlikely]]
        return get_by_ard(request);
    if (target_type == SQL_C_DEFAULT) [[unlikely]]
        target_type = default_target(request->stmt, request->field->consise_type);
    return convert_and_settle(request, target_type);
}

SQLRETURN cell_get(cell_request *request, std::int32_t target_type)
{
    return get_cell(request, target_type);
}

void cell_log_request(const cell_request &request, std::int32_t target_type,
                      const cass_field *fields, const cass_field *afields)
{
    cass_handle *head = &request.stmt->head;
    const auto address = [](const void *pointer) { return const_cast<void *>(pointer); };
    CASS_LOG(head, LOG_DETAIL,
             "cass_get_data stmt=%p, column_number=%d, target_type=%d, target_value=%p. "
             "buffer_length=%d, strlen_or_ind=%p, oct_ptr=%p, fields=%p, afields=%p",
             address(request.stmt), static_cast<int>(request.column), static_cast<int>(target_type),
             request.target, static_cast<int>(request.buffer_length), request.indicator,
             request.octets, address(fields), address(afields));
    if (request.column != 0)
        CASS_LOG(head, LOG_DETAIL, "cass_get_data column_number %d of %d",
                 static_cast<int>(request.column),
                 static_cast<int>(cass_stmt_column_count(request.stmt->ird)));
}

SQLRETURN cass_get_data(cass_stmt *stmt, SQLUSMALLINT column_number, std::int32_t target_type,
                        void *target_value, SQLLEN buffer_length, void *strlen_or_ind,
                        void *oct_ptr, cass_field *fields, cass_field *afields)
{
    cass_field *field = record_of(stmt, column_number, fields);
    void *octets = oct_ptr == strlen_or_ind ? nullptr : oct_ptr;
    cell_request request = {
        .stmt = stmt,
        .field = field,
        .member = nullptr,
        .target = target_value,
        .buffer_length = buffer_length,
        .indicator = strlen_or_ind,
        .octets = octets,
        .column = column_number,
        .logged = cass_log_is_on(&stmt->head),
        .bound = false,
    };
    if (request.logged) [[unlikely]]
        cell_log_request(request, target_type, fields, afields);
    if (request.field == nullptr) [[unlikely]] {
        CASS_LOG(&stmt->head, LOG_ERROR, "cass_get_data: no column %d",
                 static_cast<int>(column_number));
        cass_post_error(&stmt->head, STATE_07009, 0, nullptr);
        return SQL_ERROR;
    }
    return get_cell(&request, target_type);
}
