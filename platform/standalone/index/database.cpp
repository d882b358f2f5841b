#include "index/database.h"

namespace vexo::index {

Statement::Statement(Database &database, std::string_view sql) : cursor_(database.Prepare(sql)) {}

int64_t Database::Number(const char *sql) {
  Statement statement(*this, sql);
  return statement.Step() ? statement.Int64(0) : 0;
}

} // namespace vexo::index
