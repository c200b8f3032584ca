// The columns of the catalog functions' results as ODBC 3.8 has them. A text column is described
// wider where a row needs it.
#ifndef CORE_CATALOG_CASS_CATALOG_SHAPES_H
#define CORE_CATALOG_CASS_CATALOG_SHAPES_H

#include "core/local/cass_internalrs.h"

extern const cass_internal_columns tables_shape;
extern const cass_internal_columns columns_shape;
extern const cass_internal_columns primary_keys_shape;
extern const cass_internal_columns special_columns_shape;
extern const cass_internal_columns statistics_shape;
extern const cass_internal_columns foreign_keys_shape;
extern const cass_internal_columns procedures_shape;
extern const cass_internal_columns procedure_columns_shape;
extern const cass_internal_columns table_privileges_shape;
extern const cass_internal_columns column_privileges_shape;

#endif
