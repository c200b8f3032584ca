// Field records: what a descriptor's array of columns or parameters owns, how it grows, shrinks and
// is rebuilt for new metadata. Records are plain memory and move when the array grows, so nobody
// keeps a pointer into it across a resize.
#include "core/describe/cass_field.h"

#include <cstdlib>
#include <cstring>

#include "core/cell/cass_data.h"

void cass_field_init(cass_field *field)
{
    std::memset(field, 0, sizeof *field);
    field->parameter_type = SQL_PARAM_INPUT;
    field->unnamed = 1;
    field->decode = cass_cell_decoder_for(nullptr, CQL_CUSTOM);
}

void cass_field_free_put_data(cass_field *field)
{
    cass_put_chunk *chunk = field->put_data;
    while (chunk != nullptr) {
        cass_put_chunk *next = chunk->next;
        if (chunk->length >= 0)  // a null value owns no bytes
            std::free(chunk->bytes);
        std::free(chunk);
        chunk = next;
    }
    field->put_data = nullptr;
    field->put_data_tail = nullptr;
}

void cass_field_clear(cass_field *field)
{
    cass_string **const texts[] = {
        &field->catalog_name, &field->keyspace_name,    &field->table_name,
        &field->column_name,  &field->custom_type_name, &field->full_type_name,
    };
    for (cass_string **text : texts) {
        cass_string_free(*text);
        *text = nullptr;
    }

    field->literal_prefix = nullptr;
    field->literal_suffix = nullptr;
    field->local_type_name = nullptr;
    field->type_name = nullptr;

    std::free(field->data_storage.buffer);
    std::memset(&field->data_storage, 0, sizeof field->data_storage);
    cass_field_free_put_data(field);
    free_type_option(field->type_tree);
    field->type_tree = nullptr;

    field->data_ptr = nullptr;
    field->indicator_ptr = nullptr;
    field->octet_length_ptr = nullptr;
}

int cass_desc_resize(cass_desc *desc, std::int32_t count)
{
    if (count < 0)
        return -1;
    if (count == desc->field_count)
        return 0;
    if (count == 0) {
        cass_desc_clear_fields(desc);
        return 0;
    }

    for (std::int32_t index = count; index < desc->field_count; ++index)
        cass_field_clear(&desc->fields[index]);

    const std::size_t bytes = static_cast<std::size_t>(count) * sizeof(cass_field);
    auto *fields = static_cast<cass_field *>(std::realloc(desc->fields, bytes));
    if (fields != nullptr)
        desc->fields = fields;
    else if (count > desc->field_count)
        return -1;  // an array that only shrinks keeps its larger block instead

    for (std::int32_t index = desc->field_count; index < count; ++index)
        cass_field_init(&desc->fields[index]);
    desc->field_count = count;
    return 0;
}

// When no record borrows them any more.
static void drop_shared_names(cass_desc *desc)
{
    cass_string_free(desc->shared_keyspace);
    cass_string_free(desc->shared_table);
    desc->shared_keyspace = nullptr;
    desc->shared_table = nullptr;
}

void cass_desc_clear_fields(cass_desc *desc)
{
    for (std::int32_t index = 0; index < desc->field_count; ++index)
        cass_field_clear(&desc->fields[index]);
    std::free(desc->fields);
    desc->fields = nullptr;
    desc->field_count = 0;
    drop_shared_names(desc);
}

void cass_desc_undescribe(cass_desc *desc)
{
    cass_desc_clear_fields(desc);
    desc->found_count = 0;
    desc->found_valid = 0;
}

int cass_desc_describe(cass_desc *desc, std::int32_t count)
{
    // The usual case is the next page of the same result: the block is kept when the count is.
    if (count != desc->field_count)
        cass_desc_clear_fields(desc);
    for (std::int32_t index = 0; index < desc->field_count; ++index) {
        cass_field_clear(&desc->fields[index]);
        cass_field_init(&desc->fields[index]);
    }
    drop_shared_names(desc);

    const int result = cass_desc_resize(desc, count);
    desc->found_count = desc->field_count;
    desc->found_valid = 1;
    return result;
}
