#include "core/record/cass_conduct.h"

const cass_conduct default_conduct = {
    // Statements and parameters.
    .text_goes_out_by_low_bytes = true,
    .data_is_awaited_in_first_run_only = true,
    .failed_set_is_information = true,
    .a_new_apd_unlinks_the_ard = true,
    .unbinding_a_parameter_fails = true,
    .cancelling_a_prepared_statement_fails = true,
    .options_mark_nothing_rebound = true,
    // Cells and rows.
    .uuid_arrays_are_spaced_by_length = true,
    .a_refused_column_stays_bound = true,
    // Descriptions and diagnostics.
    .an_unknown_attribute_is_told_twice = true,
    .a_surplus_parameter_is_described = true,
    .columns_tell_no_schema = true,
    .a_cut_descriptor_text_is_a_success = true,
    .a_record_past_the_end_is_an_error = true,
    .some_stored_fields_fail = true,
    .a_cursor_name_needs_a_buffer = true,
    .a_lost_cursor_name_is_silent = true,
    .a_probe_of_a_text_field_is_no_data = true,
    .a_probe_of_a_record_counts_units = true,
    .the_wide_connection_name_is_zero = true,
    .foreign_attributes_read_as_success = true,
    .local_shorts_are_integers = true,
    // Catalog and information.
    .the_catalog_argument_is_the_keyspace = true,
    .views_are_told_as_views = true,
    .table_types_are_not_trimmed = true,
    .ordinals_count_from_zero = true,
    .a_datetime_subcode_is_the_type = true,
    .all_types_tell_octet_lengths = true,
    .integers_have_no_radix = true,
    .only_decimals_have_digits = true,
    .the_key_is_not_counted = true,
    .clustering_columns_are_no_key = true,
    .the_schema_is_measured_by_the_catalog = true,
    .the_scope_is_the_type = true,
    .any_schema_filters_statistics = true,
    .a_warning_fails_the_catalog = true,
    .catalog_results_occupy_the_connection = true,
    .unknown_information_is_optional = true,
    // Session.
    .an_exact_output_string_is_whole = true,
};
