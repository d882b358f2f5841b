#include "index/sqlite_words.h"
#include "index/sqlite_texts.h"

#include "text/search_folding.h"
#include "text/text.h"
#include "text/utf8.h"
#include <algorithm>

namespace vexo::index {
namespace {

/// Folded texts hold no control characters.
constexpr std::string_view kMarks = "\x01\x01";

bool IsOfWord(char32_t c) { return c >= 0x80 || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); }

/// The folded text with its marks in the place of spaces.
std::string MarkWords(std::string_view folded) {
  std::string marked;
  char32_t last = ' ';
  while (!folded.empty()) {
    const text::Utf8Character c = text::DecodeUtf8(folded);
    if (c.code_point != ' ') {
      const bool begins = last == ' ' || (IsOfWord(c.code_point) && !IsOfWord(last));
      if (begins || text::IsUnspacedScript(c.code_point)) {
        marked += kMarks;
      }
      marked += folded.substr(0, c.length_bytes);
    }
    last = c.code_point;
    folded.remove_prefix(c.length_bytes);
  }
  return marked;
}

/// What to search the marked texts for.
std::string MarkedWord(const std::string &word) {
  std::string marked = MarkWords(word);
  const std::string inner = marked.substr(std::min(kMarks.size(), marked.size()));
  const bool anywhere = !text::IsUnspacedScript(text::DecodeUtf8(word).code_point);
  return anywhere && HasTrigram(inner) ? inner : marked;
}

IdSet Matches(Database &database, const char *sql, const std::string &expression) {
  Statement statement(database, sql);
  return ReadIds(statement.Bind(1, expression));
}

std::string Marked(std::string_view text) { return MarkWords(text::FoldForSearch(text)); }

void WriteSong(Statement &statement, int32_t id, std::string_view title) {
  const std::string marked = Marked(title);
  statement.Bind(1, int64_t{id}).Bind(2, marked).Run();
}

void WriteGroup(Statement &statement, int32_t id, std::string_view name, std::string_view artist) {
  const std::string marked = Marked(name);
  const std::string marked_artist = Marked(artist);
  statement.Bind(1, int64_t{id}).Bind(2, marked).Bind(3, marked_artist).Run();
}

} // namespace

std::vector<std::string> FoldedWords(const std::string &words) {
  return text::Split(text::FoldForSearch(words), " ");
}

IdSet SongsWithWord(Database &database, const std::string &word) {
  return Matches(database, "SELECT rowid FROM song_words WHERE song_words MATCH ?1",
                 MatchExpression(nullptr, MarkedWord(word)));
}

IdSet GroupsWithWord(Database &database, const std::string &word, bool with_artist) {
  return Matches(database, "SELECT rowid FROM group_words WHERE group_words MATCH ?1",
                 MatchExpression(with_artist ? nullptr : "name", MarkedWord(word)));
}

WordWriter::WordWriter(Database &database)
    : add_song_(database, "INSERT INTO song_words(rowid, title) VALUES(?1, ?2)"),
      remove_song_(database, "INSERT INTO song_words(song_words, rowid, title) "
                             "VALUES('delete', ?1, ?2)"),
      add_group_(database, "INSERT INTO group_words(rowid, name, artist) VALUES(?1, ?2, ?3)"),
      remove_group_(database, "INSERT INTO group_words(group_words, rowid, name, artist) "
                              "VALUES('delete', ?1, ?2, ?3)") {}

void WordWriter::AddSong(int32_t id, std::string_view title) { WriteSong(add_song_, id, title); }

void WordWriter::RemoveSong(int32_t id, std::string_view title) {
  WriteSong(remove_song_, id, title);
}

void WordWriter::AddGroup(int32_t id, std::string_view name, std::string_view artist) {
  WriteGroup(add_group_, id, name, artist);
}

void WordWriter::RemoveGroup(int32_t id, std::string_view name, std::string_view artist) {
  WriteGroup(remove_group_, id, name, artist);
}

} // namespace vexo::index
