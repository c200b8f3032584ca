#include "core/record/cass_conduct.h"

const cass_conduct default_conduct = {
    .text_goes_out_by_low_bytes = true,
};
