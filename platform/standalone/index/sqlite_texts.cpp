#include "index/sqlite_texts.h"
#include "index/sqlite_match.h"
#include "index/sqlite_titles.h"
#include "index/words.h"

#include "text/case_folding.h"

namespace vexo::index {
namespace {

class SqliteTextWriter : public TextWriter {
public:
  SqliteTextWriter(Database &database, ListWriter &lists);
  void AddSong(const Song &song) override { WriteSong(add_song_, song); }
  void RemoveSong(const Song &song) override { WriteSong(remove_song_, song); }
  void AddTitle(int32_t song, std::string_view title) override { titles_.Add(song, title); }
  void RemoveTitle(int32_t song, std::string_view title) override { titles_.Remove(song, title); }
  void AddGroup(int32_t group, std::string_view name, std::string_view artist) override {
    WriteGroup(add_group_, group, name, artist);
  }
  void RemoveGroup(int32_t group, std::string_view name, std::string_view artist) override {
    WriteGroup(remove_group_, group, name, artist);
  }
  void Flush() override { titles_.Flush(); }

private:
  static void WriteSong(Statement &statement, const Song &song);
  static void WriteGroup(Statement &statement, int32_t group, std::string_view name,
                         std::string_view artist);
  Statement add_song_, remove_song_, add_group_, remove_group_;
  TitleWriter titles_;
};

SqliteTextWriter::SqliteTextWriter(Database &database, ListWriter &lists)
    : add_song_(database, "INSERT INTO song_texts(rowid, title, artist, album, genre) "
                          "VALUES(?1, ?2, ?3, ?4, ?5)"),
      remove_song_(database, "INSERT INTO song_texts(song_texts, rowid, title, artist, album, "
                             "genre) VALUES('delete', ?1, ?2, ?3, ?4, ?5)"),
      add_group_(database, "INSERT INTO group_words(rowid, name, artist) VALUES(?1, ?2, ?3)"),
      remove_group_(database, "INSERT INTO group_words(group_words, rowid, name, artist) "
                              "VALUES('delete', ?1, ?2, ?3)"),
      titles_(database, lists) {}

void SqliteTextWriter::WriteSong(Statement &statement, const Song &song) {
  const std::array texts = {text::FoldCase(song.title), text::FoldCase(song.artist),
                            text::FoldCase(song.album), text::FoldCase(song.genre)};
  statement.Bind(1, int64_t{song.id});
  for (int i = 0; i < static_cast<int>(texts.size()); ++i) {
    statement.Bind(i + 2, texts[static_cast<std::size_t>(i)]);
  }
  statement.Run();
}

void SqliteTextWriter::WriteGroup(Statement &statement, int32_t group, std::string_view name,
                                  std::string_view artist) {
  const std::string marked = MarkedText(name);
  const std::string marked_artist = MarkedText(artist);
  statement.Bind(1, int64_t{group}).Bind(2, marked).Bind(3, marked_artist).Run();
}

} // namespace

std::unique_ptr<TextWriter> SqliteTexts::MakeWriter(ListWriter &lists) {
  return std::make_unique<SqliteTextWriter>(database_, lists);
}

std::vector<IdSet> SqliteTexts::SongsWithWords(const std::vector<std::string> &words) {
  std::vector<IdSet> found;
  found.reserve(words.size());
  std::optional<TitleReader> titles; // most lists ask for none
  for (const std::string &word : words) {
    found.push_back((titles ? *titles : titles.emplace(database_)).With(word));
  }
  return found;
}

IdSet SqliteTexts::GroupsWithWord(const std::string &word, bool with_artist) {
  Statement groups(database_, "SELECT rowid FROM group_words WHERE group_words MATCH ?1");
  const std::string expression = MatchExpression(with_artist ? nullptr : "name", MarkedWord(word));
  return ReadIds(groups.Bind(1, expression));
}

KeywordCondition SqliteTexts::WithKeyword(const char *column, const std::string &folded) {
  if (HasTrigram(folded)) {
    return {"id IN (SELECT rowid FROM song_texts WHERE song_texts MATCH ?2) AND +owner = ?1",
            {MatchExpression(column, folded)}};
  }
  return {"owner = ?1 AND " + HoldsKeyword(database_.dialect(), column, "?2"), {folded}};
}

} // namespace vexo::index
