#pragma once
// Titles of songs, to be found by parts of their words.
//
// What is asked for lies within one word of a title (see MarkedPieces()), and a collection has few
// words in many titles. So title_words, a trigram index, holds each word once, and finds those with
// the part; a list of members for each tells whose titles have it. How long that takes grows with
// the words that are found and with their songs, hardly with the songs that there are.
//
// Older programs kept each title in a trigram index of its own, song_words. What they wrote is
// found there until MoveOldTitles() has been through it.

#include "index/ids.h"
#include "index/lists.h"
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace vexo::index {

/// Finds songs by their titles.
class TitleReader {
public:
  explicit TitleReader(Database &database);
  /// The ids of the songs that have a folded word in their titles, in no order, perhaps more than
  /// once.
  IdSet With(const std::string &word);

private:
  int64_t old_titles_; ///< the last song of song_words; 0: there is no such table
  Statement songs_;
  std::optional<Statement> old_songs_;
};

/// Takes titles in, and out again. What it changes of lists happens when they are flushed.
class TitleWriter {
public:
  TitleWriter(Database &database, ListWriter &lists);
  void Add(int32_t song, std::string_view title);
  /// The title must be the one that was added.
  void Remove(int32_t song, std::string_view title);
  /// To be called between two flushes of the lists: forgets words that no title has any more.
  void Flush();

private:
  int32_t IdOf(const std::string &word);
  int32_t Make(const std::string &word);
  bool IsUsed(int32_t word);

  ListWriter &lists_;
  int64_t old_titles_;
  Statement find_, first_song_, add_, remove_;
  std::optional<Statement> add_old_, remove_old_;
  std::unordered_map<std::string, int32_t> ids_;
  std::unordered_map<std::string, int32_t> removed_;
};

/// Takes some titles of song_words in, in a transaction; false: none is left, and the table is
/// gone.
bool MoveOldTitles(Database &database);

/// The last song whose title is in song_words as yet; 0: there is none.
int64_t OldTitles(Database &database);

/// Drops song_words without a look at what is in it.
void ForgetOldTitles(Database &database);

} // namespace vexo::index
