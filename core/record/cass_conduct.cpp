#include "core/record/cass_conduct.h"

const cass_conduct default_conduct = {
    .text_goes_out_by_low_bytes = true,
    .data_is_awaited_in_first_run_only = true,
    .failed_set_is_information = true,
};
