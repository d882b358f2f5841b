#pragma once
#include "index/sqlite_database.h"

namespace vexo::index {

/// Gives the connection fold(TEXT): the text without differences of letter case.
void DefineFold(SqliteDatabase &database);

} // namespace vexo::index
