#include "core/record/cass_conduct.h"

const cass_conduct default_conduct = {
    .text_goes_out_by_low_bytes = true,
    .null_indicator_leaves_value_out = true,
    .negative_decimal_loses_carry = true,
    .byte_goes_out_as_eight = true,

    .wide_cut_fills_buffer = true,
    .exact_fit_counts_as_cut = true,
    .hexadecimal_length_is_undoubled = true,
    .probe_uses_up_column = true,
    .null_without_indicator_is_warning = true,
    .ard_type_reads_column_in_front = true,
    .blanks_cut_number = true,
    .rowset_of_several_is_success = true,
    .lost_page_leaves_emptied_row = true,
    .local_row_is_transferred_twice = true,
};
