// Diagnostic records: the SQLSTATE table, composing a message, and the sorted list on each handle.
// Every failure that an application can read about passes through cass_post_error.
#include "core/diag/cass_err.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>

#include "core/log/cass_log.h"

static constexpr char log_source[] = "cass_err.c";

constexpr int MESSAGE_ROOM = 1024;
constexpr char MESSAGE_PREFIX[] = "[Varnholt][Apache Cassandra]";

struct cass_sqlstate {
    const char *state;  // five characters
    const char *text;   // message, or null
};

// In the order of cass_state_row. Some rows are posted by nobody; "07008" and "21000" carry the
// text of "General error", and both spellings of a cut text are the driver's.
static constexpr cass_sqlstate state_table[] = {
    {"HY000", "General error"},
    {"HY009", "Invalid use of null pointer"},
    {"HYC00", "Optional feature not implemented"},
    {"08001", "Client unable to establish connection"},
    {"HY001", "Memory allocation error"},
    {"08S01", "Communication link failure"},
    {"42S01", "Base table or view already exists"},
    {"42S02", "Base table or view not found"},
    {"42S22", "Column not found"},
    {"42000", nullptr},
    {"22001", "String data, right truncated"},
    {"23000", "Integrity constraint violation"},
    {"S0000", nullptr},
    {"40001", "Serialization failure"},
    {"01000", nullptr},
    {"HY092", "Invalid attribute/option identifier"},
    {"07009", "Invalid descriptor index"},
    {"HY091", "Invalid descriptor field identifier"},
    {"24000", "Invalid cursor state"},
    {"07006", "Restricted data type access violation"},
    {"01004", "String data, right truncation"},
    {"07002", "COUNT field incorrect"},
    {"HY096", "Information type out of range"},
    {"01S02", nullptr},
    {"HY024", "Invalid argument value"},
    {"HY011", "Operation invalid at this time"},
    {"22003", "Numeric value out of range"},
    {"22018", "Invalid character value for cast specification"},
    {"01S07", "Fractional truncation"},
    {"HY104", "Invalid precision value"},
    {"HY010", "Function sequence error"},
    {"HY020", "Attempt to concatenate a null value"},
    {"HY090", "Invalid string or buffer length"},
    {"HY019", "Non-character and non-binary data sent in pieces"},
    {"HYT00", "Timeout expired"},
    {"S1015", "No cursor name available"},
    {"HY003", "Program type out of range"},
    {"01S06", "Attempt to fetch before the result set returned the first rowset"},
    {"HY106", "Fetch type out of range"},
    {"HY111", "Invalid bookmark value"},
    {"07005", "Prepared statement is not a cursor-specification"},
    {"HY109", "Invalid cursor position"},
    {"HY107", "Row value out of range"},
    {"HYT01", "Connection timeout expired"},
    {"HY017", "Invalid use of an automatically allocated descriptor handle"},
    {"HY007", "Associated statement is not prepared"},
    {"HY016", "Cannot modify an implementation row descriptor"},
    {"HY105", "Invalid parameter type"},
    {"HY021", "Inconsistent descriptor information"},
    {"S1092", "Option type out of range"},
    {"S1000", "General error"},
    {"S1001", "Memory allocation failure"},
    {"S1011", "Operation invalid at this time"},
    {"S1009", "Invalid argument value"},
    {"S1107", "Row value out of range"},
    {"S1108", "Concurrency option out of range"},
    {"25000", "Invalid transaction state"},
    {"IM008", "Dialog failed"},
    {"22012", "Division by zero"},
    {"HY004", "Invalid SQL data type"},
    {"21S01", "Insert value does not match column list"},
    {"07008", "General error"},
    {"22007", "Invalid datetime format"},
    {"22025", "Invalid escape sequence"},
    {"21000", "General error"},
    {"44000", "WITH CHECK OPTION violation"},
    {"08004", "Server rejected the connection"},
    {"22019", "Invalid escape character"},
    {"42S11", "Index already exists"},
    {"42S21", "Column already exists"},
    {"42S12", "Index not found"},
    {"28000", "Invalid authorization"},
    {"21S02", "Degree of derived table does not match column list"},
    {"01003", "NULL value eliminated in set function"},
    {"34000", "Invalid cursor name"},
    {"01001", "Cursor operation conflict"},
    {"HY008", "Operation canceled"},
    {"22002", "Indicator variable required but not supplied"},
    {"22005", "Conversion not allowed for the given type field"},
    {"3F000", "Invalid schema name"},
    {"22000", "Data exception"},
    {"08003", "Connection not open"},
    {"07S01", "Invalid use of default parameter"},
    {"22008", "Datetime field overflow"},
};
static_assert(std::size(state_table) == STATE_ROWS);

// Guards all lists. Recursive, so that a reader that holds it may call any function here.
cass_lock cass_diag_lock = {PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP};

// Three-way compare of two states, unit by unit as unsigned numbers; a missing text is the lowest.
static int compare_states(const cass_string *left, const cass_string *right)
{
    const std::int32_t left_length = cass_string_length(left);
    const std::int32_t right_length = cass_string_length(right);
    for (std::int32_t i = 0; i < std::min(left_length, right_length); i++)
        if (left->text[i] != right->text[i])
            return left->text[i] < right->text[i] ? -1 : 1;
    return left_length - right_length;
}

// In front of the first record of a lower state: equal states stay in the order of posting.
static void insert_record(cass_handle *handle, cass_diag_record *record)
{
    const cass_lock_guard hold(&cass_diag_lock);
    cass_diag_record **link = &handle->diag_records;
    while (*link != nullptr && compare_states((*link)->state, record->state) >= 0)
        link = &(*link)->next;
    record->next = *link;
    __atomic_store_n(link, record, __ATOMIC_RELAXED);
}

static cass_diag_record *alloc_record()
{
    return static_cast<cass_diag_record *>(std::calloc(1, sizeof(cass_diag_record)));
}

// "[Varnholt][Apache Cassandra]General error: " and the formatted part. Each of the two may be
// missing; the colon stands only between them.
static void compose_message(char *message, const char *row_text, const char *format,
                            va_list arguments)
{
    const char *text = row_text != nullptr ? row_text : "";
    const char *separator = row_text != nullptr && format != nullptr ? ": " : "";
    const int prefix =
        std::snprintf(message, MESSAGE_ROOM, "%s%s%s", MESSAGE_PREFIX, text, separator);
    if (format != nullptr)
        cass_log_format(message + prefix, MESSAGE_ROOM - prefix, format, arguments);
}

static void post_record(cass_handle *handle, cass_state_row row, std::int32_t native,
                        cass_diag_place place, const char *format, va_list arguments)
{
    char message[MESSAGE_ROOM];
    compose_message(message, state_table[row].text, format, arguments);
    cass_diag_record *record = alloc_record();
    if (record == nullptr)
        return;
    record->native = native;
    record->state = cass_string_from_cstr(state_table[row].state);
    record->text = cass_string_from_cstr(message);
    record->row_number = place.row;
    record->column_number = place.column;
    // Logged before it joins the list: from then on another thread may release it. The words say
    // "Error" of warnings too.
    CASS_LOG(handle, LOG_DETAIL, "Posting Internal Error state='%S' text='%S', native=%d",
             record->state, record->text, record->native);
    insert_record(handle, record);
}

void cass_post_error(cass_handle *handle, cass_state_row row, std::int32_t native,
                     const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    post_record(handle, row, native, DIAG_NO_PLACE, format, arguments);
    va_end(arguments);
}

void cass_post_error_at(cass_handle *handle, cass_state_row row, std::int32_t native,
                        cass_diag_place place, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    post_record(handle, row, native, place, format, arguments);
    va_end(arguments);
}

static bool malformed_replies_are_link_failures(const cass_conn *conn)
{
    return conn->conduct->malformed_replies_are_link_failures;
}

cass_state_row cass_malformed_state(const cass_stmt *stmt)
{
    return malformed_replies_are_link_failures(stmt_conn(stmt)) ? STATE_08S01 : STATE_HY000;
}

int cass_post_no_memory(cass_handle *handle, const char *source, const char *who, int code,
                        int line)
{
    if (cass_log_is_on(handle)) [[unlikely]]
        cass_log(handle, source, line, LOG_ERROR, "%s: failed to allocate memory", who);
    cass_post_error(handle, STATE_HY001, 0, nullptr);
    if (handle->handle_tag == CASS_STATEMENT_HANDLE)
        reinterpret_cast<cass_stmt *>(handle)->no_memory = 1;
    return code;
}

void cass_diag_release(cass_handle *handle)
{
    cass_lock_enter(&cass_diag_lock);
    cass_diag_record *record = handle->diag_records;
    __atomic_store_n(&handle->diag_records, static_cast<cass_diag_record *>(nullptr),
                     __ATOMIC_RELAXED);
    cass_lock_leave(&cass_diag_lock);
    cass_diag_free_list(&record);
}

void cass_diag_free_list(cass_diag_record **list)
{
    while (*list != nullptr) {
        cass_diag_record *next = (*list)->next;
        cass_string_free((*list)->state);
        cass_string_free((*list)->text);
        std::free(*list);
        *list = next;
    }
}

void cass_diag_take_without_row(cass_handle *handle, cass_diag_record **list)
{
    cass_diag_free_list(list);
    const cass_lock_guard hold(&cass_diag_lock);
    cass_diag_record **link = &handle->diag_records;
    while (*link != nullptr) {
        cass_diag_record *record = *link;
        if (record->row_number != DIAG_NO_PLACE.row) {
            link = &record->next;
            continue;
        }
        __atomic_store_n(link, record->next, __ATOMIC_RELAXED);
        record->next = nullptr;
        *list = record;
        list = &record->next;
    }
}

void cass_diag_give_back(cass_handle *handle, cass_diag_record **list)
{
    cass_diag_release(handle);
    const cass_lock_guard hold(&cass_diag_lock);
    __atomic_store_n(&handle->diag_records, *list, __ATOMIC_RELAXED);
    *list = nullptr;
}

cass_diag_record *cass_diag_get(cass_handle *handle, std::int32_t number)
{
    if (number < 1)
        return nullptr;
    const cass_lock_guard hold(&cass_diag_lock);
    cass_diag_record *record = handle->diag_records;
    for (std::int32_t i = 1; i < number && record != nullptr; i++)
        record = record->next;
    return record;
}

static bool text_has_at(const cass_string *text, std::int32_t at, std::string_view piece)
{
    if (at + static_cast<std::int64_t>(piece.size()) > text->length)
        return false;
    return std::equal(piece.begin(), piece.end(), text->text + at);
}

std::int32_t cass_diag_detail(const cass_diag_record *record)
{
    constexpr std::int32_t words = sizeof MESSAGE_PREFIX - 1;
    if (cass_string_length(record->text) < words)
        return 0;
    for (const cass_sqlstate &row : state_table) {
        if (row.text == nullptr || cass_string_compare_cstr(record->state, row.state) != 0)
            continue;
        const auto detail = static_cast<std::int32_t>(words + std::strlen(row.text));
        if (text_has_at(record->text, words, row.text) && text_has_at(record->text, detail, ": "))
            return detail + 2;
    }
    return words;
}

std::int32_t cass_diag_count(cass_handle *handle)
{
    std::int32_t count = 0;
    const cass_lock_guard hold(&cass_diag_lock);
    for (const cass_diag_record *record = handle->diag_records; record != nullptr;
         record = record->next)
        count++;
    return count;
}

void cass_diag_name_row(cass_handle *handle, std::int32_t row)
{
    const cass_lock_guard hold(&cass_diag_lock);
    cass_diag_record *record = handle->diag_records;
    for (; record != nullptr; record = record->next) {
        if (record->row_number == DIAG_NO_PLACE.row)
            record->row_number = row;
    }
}

void cass_diag_copy(cass_handle *handle, const cass_diag_record *record)
{
    cass_diag_record *copy = alloc_record();
    if (copy == nullptr)
        return;
    const cass_lock_guard hold(&cass_diag_lock);
    *copy = *record;
    copy->next = nullptr;
    copy->state = cass_string_copy(record->state);
    copy->text = cass_string_copy(record->text);
    insert_record(handle, copy);
}

void cass_diag_copy_all(cass_handle *handle, cass_handle *from)
{
    const cass_lock_guard hold(&cass_diag_lock);
    for (const cass_diag_record *record = from->diag_records; record != nullptr;
         record = record->next)
        cass_diag_copy(handle, record);
}
