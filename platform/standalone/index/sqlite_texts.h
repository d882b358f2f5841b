#pragma once
// Text search in the SQLite engine: the trigram indexes song_texts and group_words. Words of titles
// are kept in their own way: see sqlite_titles.h.

#include "index/texts.h"

namespace vexo::index {

class SqliteTexts : public Texts {
public:
  explicit SqliteTexts(Database &database) : database_(database) {}
  std::unique_ptr<TextWriter> MakeWriter(ListWriter &lists) override;
  std::vector<IdSet> SongsWithWords(const std::vector<std::string> &words) override;
  IdSet GroupsWithWord(const std::string &word, bool with_artist) override;
  KeywordCondition WithKeyword(const char *column, const std::string &folded) override;

private:
  Database &database_;
};

} // namespace vexo::index
