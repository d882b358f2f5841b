#pragma once
// Text search in the PostgreSQL engine: the table `texts`, one column with one trigram index.

#include "index/texts.h"

namespace vexo::index {

class PostgresTexts : public Texts {
public:
  explicit PostgresTexts(Database &database) : database_(database) {}
  std::unique_ptr<TextWriter> MakeWriter(ListWriter &lists) override;
  std::vector<IdSet> SongsWithWords(const std::vector<std::string> &words) override;
  IdSet GroupsWithWord(const std::string &word, bool with_artist) override;
  KeywordCondition WithKeyword(const char *column, const std::string &folded) override;

private:
  Database &database_;
};

} // namespace vexo::index
