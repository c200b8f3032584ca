// SQLSetDescRec: type, sizes and buffers of a record in one call. It takes no text, so there
// is no wide form.
#include "core/describe/cass_field.h"
#include "odbc/SQLSetDescFieldWide.h"

static constexpr char log_source[] = "SQLSetDescRec.c";
static constexpr entry_point entry = {
    .name = "SQLSetDescRec", .source = log_source, .exit_format = EXIT_BY_NAME};

struct record_values {
    SQLSMALLINT type;
    SQLSMALLINT subtype;
    SQLLEN length;
    SQLSMALLINT precision;
    SQLSMALLINT scale;
    void *data;
    void *string_length;
    void *indicator;
};

// On an IPD nothing of the values is kept: the call refreshes the defaults of the type it has.
static SQLRETURN set_desc_rec(cass_desc *desc, SQLSMALLINT rec, const record_values &values)
{
    const desc_role role = desc_role_of(desc);
    if (role == ROLE_IRD) {
        CASS_LOG(&desc->head, LOG_ERROR, "SQLSetDescRec: result columns are not set");
        cass_post_error(&desc->head, STATE_HY016, 0, nullptr);
        return SQL_ERROR;
    }
    if (rec < 0 || (rec == 0 && role == ROLE_IPD)) {
        CASS_LOG(&desc->head, LOG_ERROR, "SQLSetDescRec: invalid record %d", static_cast<int>(rec));
        cass_post_error(&desc->head, STATE_07009, 0, nullptr);
        return SQL_ERROR;
    }
    if (rec > desc->field_count && cass_desc_resize(desc, rec) != 0) {
        CASS_LOG(&desc->head, LOG_ERROR, "SQLSetDescRec: failed to expand descriptor");
        cass_post_error(desc_failure_handle(desc), STATE_HY001, 0, nullptr);
        return SQL_ERROR;
    }

    cass_field *field = rec == 0 ? &desc->bookmark_field : &desc->fields[rec - 1];
    if (desc->app_desc) {
        field->type = values.type;
        field->datetime_interval_code = values.subtype;
    }
    if (cass_update_desc_type(&desc->head, field, DESC_FROM_TYPE) != 0) {
        CASS_LOG(&desc->head, LOG_DETAIL, "SQLSetDescRec: failed in cass_update_desc_type");
        return SQL_ERROR;
    }
    if (desc->app_desc) {
        field->octet_length = values.length;
        field->precision = values.precision;
        field->scale = values.scale;
        field->data_ptr = values.data;
        field->octet_length_ptr = values.string_length;
        field->indicator_ptr = values.indicator;
    }
    return cass_field_check(&desc->head, field) == 0 ? SQL_SUCCESS : SQL_ERROR;
}

VHCASS_EXPORT SQLRETURN SQL_API SQLSetDescRec(SQLHDESC descriptor_handle, SQLSMALLINT rec,
                                              SQLSMALLINT type, SQLSMALLINT subtype, SQLLEN length,
                                              SQLSMALLINT precision, SQLSMALLINT scale,
                                              SQLPOINTER data, SQLLEN *string_length,
                                              SQLLEN *indicator)
{
    const record_values values = {type,  subtype, length,        precision,
                                  scale, data,    string_length, indicator};
    return enter_desc(
        descriptor_handle, entry,
        [&](cass_desc *desc) {
            CASS_LOG(&desc->head, LOG_ENTRY,
                     "SQLSetDescRec: descriptor_handle=%p, rec=%d, type=%d, subtype=%d, length=%d, "
                     "precision=%d, scale=%d, data=%p, string_lengt=%p, indicator=%p",
                     static_cast<void *>(desc), static_cast<int>(rec), static_cast<int>(type),
                     static_cast<int>(subtype), static_cast<int>(length),
                     static_cast<int>(precision), static_cast<int>(scale), data,
                     values.string_length, values.indicator);
        },
        [&](cass_desc *desc) { return set_desc_rec(desc, rec, values); });
}
