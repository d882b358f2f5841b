#pragma once
#include "index/postgres_connection.h"
#include <string>

namespace vexo::index {

/// A statement that fails, and the batch with it, unless the schema is that of this program.
std::string SchemaCheck();

/// Brings the database to the schema of this program: makes it, or migrates it forward in one
/// transaction, which those who start at the same time wait for. Throws IndexError, and changes
/// nothing, for a database of a newer program.
void MigrateSchema(PostgresConnection &connection);

/// The schema's version that this program writes.
int PostgresSchemaVersion();

} // namespace vexo::index
