#include "index/sqlite_texts.h"
#include "text/case_folding.h"
#include "text/utf8.h"

#include <algorithm>

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

void DefineFold(Database &database) {
  constexpr int kFlags = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;
  if (sqlite3_create_function_v2(database.get(), "fold", 1, kFlags, nullptr, FoldFunction, nullptr,
                                 nullptr, nullptr) != SQLITE_OK) {
    database.Fail("fold()");
  }
}

bool HasTrigram(const std::string &folded) {
  const auto begins_character = [](char c) {
    return (static_cast<unsigned char>(c) & 0xc0) != 0x80;
  };
  return text::IsUtf8(folded) && std::count_if(folded.begin(), folded.end(), begins_character) >= 3;
}

std::string MatchExpression(const char *column, const std::string &folded) {
  std::string expression = column == nullptr ? "" : std::string(column) + " : ";
  expression += '"';
  for (const char c : folded) {
    expression += c;
    if (c == '"') {
      expression += c;
    }
  }
  return expression + '"';
}

SearchWriter::SearchWriter(Database &database)
    : add_(database, "INSERT INTO song_texts(rowid, title, artist, album, genre) "
                     "VALUES(?1, ?2, ?3, ?4, ?5)"),
      remove_(database, "INSERT INTO song_texts(song_texts, rowid, title, artist, album, genre) "
                        "VALUES('delete', ?1, ?2, ?3, ?4, ?5)") {}

void SearchWriter::Add(const Song &song) { Write(add_, song); }

void SearchWriter::Remove(const Song &song) { Write(remove_, song); }

void SearchWriter::Write(Statement &statement, const Song &song) {
  const std::array texts = {text::FoldCase(song.title), text::FoldCase(song.artist),
                            text::FoldCase(song.album), text::FoldCase(song.genre)};
  statement.Bind(1, int64_t{song.id});
  for (int i = 0; i < static_cast<int>(texts.size()); ++i) {
    statement.Bind(i + 2, texts[static_cast<std::size_t>(i)]);
  }
  statement.Run();
}

} // namespace vexo::index
