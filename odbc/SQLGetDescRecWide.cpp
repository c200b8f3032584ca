// SQLGetDescRec in both forms: the usual fields of a record in one call.
#include "odbc/SQLGetDescRecWide.h"

#include "core/diag/cass_text_out.h"
#include "odbc/SQLGetDescFieldWide.h"

static constexpr char log_source[] = "SQLGetDescRecWide.c";

static SQLRETURN get_desc_rec(cass_desc *desc, const entry_point &entry, text_form form,
                              SQLSMALLINT rec, const desc_rec_outputs &out)
{
    CASS_LOG(&desc->head, LOG_DETAIL, "desc: app_desc %d, field_count %d",
             static_cast<int>(desc->app_desc), static_cast<int>(desc->field_count));
    SQLRETURN code = SQL_SUCCESS;
    const cass_field *field = desc_readable_record(desc, entry, rec, &code);
    if (field == nullptr)
        return code;

    std::int64_t length = 0;
    if (describe_text_out(field->column_name, form, out.name, out.room, &length)) {
        CASS_LOG(&desc->head, LOG_ERROR, "%s: name truncated", entry.name);
        cass_post_error(&desc->head, STATE_01004, 0, nullptr);
        code = desc_cut_code(desc);
    }
    cass_store(out.string_length, cass_small_length(length));
    cass_store(out.type, static_cast<SQLSMALLINT>(field->type));
    cass_store(out.sub_type, static_cast<SQLSMALLINT>(field->datetime_interval_code));
    cass_store(out.length, field->octet_length);
    cass_store(out.precision, static_cast<SQLSMALLINT>(field->precision));
    cass_store(out.scale, static_cast<SQLSMALLINT>(field->scale));
    cass_store(out.nullable, static_cast<SQLSMALLINT>(field->nullable));
    return code;
}

SQLRETURN get_desc_rec_entry(SQLHDESC handle, const entry_point &entry, text_form form,
                             SQLSMALLINT rec, const desc_rec_outputs &out)
{
    return enter_desc(
        handle, entry,
        [&](cass_desc *desc) {
            ENTRY_LOG(&desc->head, entry, LOG_ENTRY,
                      "%s: descriptor_handle=%p, rsc=%d, name=%p, buffer_length=%d, "
                      "string_length=%p, type=%p, sub_type=%p, length=%p, precision=%p, scale=%p, "
                      "nullable=%p",
                      entry.name, static_cast<void *>(desc), static_cast<int>(rec), out.name,
                      static_cast<int>(out.room), static_cast<void *>(out.string_length),
                      static_cast<void *>(out.type), static_cast<void *>(out.sub_type),
                      static_cast<void *>(out.length), static_cast<void *>(out.precision),
                      static_cast<void *>(out.scale), static_cast<void *>(out.nullable));
        },
        [&](cass_desc *desc) { return get_desc_rec(desc, entry, form, rec, out); });
}
