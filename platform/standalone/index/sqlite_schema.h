#pragma once
#include "index/sqlite_database.h"

namespace vexo::index {

/// Brings the database to the schema of this program: makes it, or migrates it forward in one
/// transaction. Costs one header read when there is nothing to do. Throws IndexError, and changes
/// nothing, for a database of a newer program. Whether there was anything to do.
bool MigrateSchema(SqliteDatabase &database);

/// The schema's version that this program writes.
int SchemaVersion();

} // namespace vexo::index
