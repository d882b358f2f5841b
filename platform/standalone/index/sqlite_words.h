#pragma once
// Search by words, whatever their accents: the trigram indexes song_words and group_words.
//
// They hold folded texts with two marks before each beginning of a word. So a word of one or two
// letters, which has no trigram, has one with its marks, and is found where words begin; a longer
// one is found anywhere. In scripts without spaces each character counts as a beginning.

#include "index/sqlite_ids.h"
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::index {

/// The words of a question, folded.
std::vector<std::string> FoldedWords(const std::string &words);

/// The ids of the texts that hold a folded word, ascending.
IdSet SongsWithWord(Database &database, const std::string &word);
/// In the name; or in the artist's name too.
IdSet GroupsWithWord(Database &database, const std::string &word, bool with_artist);

/// Takes texts into song_words and group_words, and out of them again.
class WordWriter {
public:
  explicit WordWriter(Database &database);
  void AddSong(int32_t id, std::string_view title);
  void AddGroup(int32_t id, std::string_view name, std::string_view artist);
  /// The texts must be those that were added.
  void RemoveSong(int32_t id, std::string_view title);
  void RemoveGroup(int32_t id, std::string_view name, std::string_view artist);

private:
  Statement add_song_, remove_song_, add_group_, remove_group_;
};

} // namespace vexo::index
