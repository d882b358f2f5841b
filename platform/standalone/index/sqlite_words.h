#pragma once
// Search by words, whatever their accents: how texts are kept for it, and the names of groups.
//
// Trigram indexes hold folded texts with two marks before each beginning of a word. So a word of
// one or two letters, which has no trigram, has one with its marks, and is found where words begin;
// a longer one is found anywhere. In scripts without spaces each character counts as a beginning.

#include "index/sqlite_ids.h"
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::index {

/// The words of a question, folded.
std::vector<std::string> FoldedWords(const std::string &words);

/// The text folded, with marks in the place of spaces.
std::string MarkedText(std::string_view text);

/// The marked text in pieces, each once: what is found in the whole is found in one of them.
std::vector<std::string> MarkedPieces(std::string_view text);

/// What to search marked texts for that may hold a folded word, as an expression of FTS5.
std::string WordExpression(const std::string &word);

/// The ids of the groups that have a folded word in the name, or in the artist's name too;
/// ascending.
IdSet GroupsWithWord(Database &database, const std::string &word, bool with_artist);

/// Takes names into group_words, and out of it again.
class GroupWordWriter {
public:
  explicit GroupWordWriter(Database &database);
  void Add(int32_t id, std::string_view name, std::string_view artist);
  /// The names must be those that were added.
  void Remove(int32_t id, std::string_view name, std::string_view artist);

private:
  Statement add_, remove_;
};

} // namespace vexo::index
