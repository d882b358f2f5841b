#pragma once
// Search by texts: the part of the index that each engine does in its own way.

#include "index/ids.h"
#include "index/lists.h"
#include "index/song.h"
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vexo::index {

/// Takes texts into what finds them, and out of it again. The texts that go must be those that
/// came. Lives inside a transaction.
class TextWriter {
public:
  virtual ~TextWriter() = default;
  /// What keywords are searched for in.
  virtual void AddSong(const Song &song) = 0;
  virtual void RemoveSong(const Song &song) = 0;
  // What words are searched for in.
  virtual void AddTitle(int32_t song, std::string_view title) = 0;
  virtual void RemoveTitle(int32_t song, std::string_view title) = 0;
  virtual void AddGroup(int32_t group, std::string_view name, std::string_view artist) = 0;
  virtual void RemoveGroup(int32_t group, std::string_view name, std::string_view artist) = 0;
  /// To be called between two flushes of the lists.
  virtual void Flush() = 0;
};

/// Songs with a keyword: a condition for them, with the owner as ?1 and the texts as ?2, ?3, ...
struct KeywordCondition {
  std::string sql;
  std::vector<std::string> texts;
};

/// The condition that a column (null: any of kSearchedColumns) holds the folded text that is the
/// parameter `text`.
std::string HoldsKeyword(const Dialect &dialect, const char *column, const std::string &text);

class Texts {
public:
  virtual ~Texts() = default;
  /// What it changes of lists happens when they are flushed.
  virtual std::unique_ptr<TextWriter> MakeWriter(ListWriter &lists) = 0;
  /// For each folded word, the ids of songs that have it in their titles, in no order, perhaps more
  /// than once.
  virtual std::vector<IdSet> SongsWithWords(const std::vector<std::string> &words) = 0;
  /// The ids of groups that have it in their names, ascending; or in their artists' names too.
  virtual IdSet GroupsWithWord(const std::string &word, bool with_artist) = 0;
  /// Songs of an owner with the folded keyword in `column`, or, when that is null, in any of
  /// kSearchedColumns.
  virtual KeywordCondition WithKeyword(const char *column, const std::string &folded) = 0;
};

} // namespace vexo::index
