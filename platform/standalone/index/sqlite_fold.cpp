#include "index/sqlite_fold.h"
#include "text/case_folding.h"

namespace vexo::index {
namespace {

void FoldFunction(sqlite3_context *context, int, sqlite3_value **arguments) {
  const auto *text = reinterpret_cast<const char *>(sqlite3_value_text(arguments[0]));
  const auto size = static_cast<std::size_t>(sqlite3_value_bytes(arguments[0]));
  try {
    const std::string folded = text::FoldCase(std::string_view(text == nullptr ? "" : text, size));
    sqlite3_result_text64(context, folded.data(), folded.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
  } catch (const std::exception &) {
    sqlite3_result_error_nomem(context);
  }
}

} // namespace

void DefineFold(SqliteDatabase &database) {
  constexpr int kFlags = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;
  if (sqlite3_create_function_v2(database.get(), "fold", 1, kFlags, nullptr, FoldFunction, nullptr,
                                 nullptr, nullptr) != SQLITE_OK) {
    database.Fail("fold()");
  }
}

} // namespace vexo::index
