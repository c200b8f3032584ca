#include "core/record/cass_conduct.h"

const cass_conduct default_conduct = {};
