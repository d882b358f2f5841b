#include "index/sqlite_titles.h"
#include "index/orders.h"
#include "index/sqlite_match.h"
#include "index/words.h"

namespace vexo::index {
namespace {

/// The lists are those of MemberList().
constexpr const char *kSongsWithPart =
    "SELECT entries.id FROM title_words CROSS JOIN entries "
    "ON list = -8 * title_words.rowid - 5 AND key = x'' WHERE title_words MATCH ?1";
static_assert(MemberList(1, Membership::kTitles) == -8 - 5);

} // namespace

int64_t OldTitles(Database &database) { return database.Number("SELECT old_titles FROM catalog"); }

TitleReader::TitleReader(Database &database)
    : old_titles_(OldTitles(database)), songs_(database, kSongsWithPart) {
  if (old_titles_ > 0) {
    old_songs_.emplace(database, "SELECT rowid FROM song_words WHERE song_words MATCH ?1 "
                                 "AND rowid <= ?2");
  }
}

IdSet TitleReader::With(const std::string &word) {
  const std::string expression = MatchExpression(nullptr, MarkedWord(word));
  const Reading reading(songs_);
  IdSet ids = ReadIds(songs_.Bind(1, expression));
  if (old_songs_) {
    const Reading reading_old(*old_songs_);
    const IdSet more = ReadIds(old_songs_->Bind(1, expression).Bind(2, old_titles_));
    ids.insert(ids.end(), more.begin(), more.end());
  }
  return ids;
}

TitleWriter::TitleWriter(Database &database, ListWriter &lists)
    : lists_(lists), old_titles_(OldTitles(database)),
      find_(database, "SELECT id FROM entries WHERE list = ?1 AND key = ?2"),
      first_song_(database, "SELECT id FROM entries WHERE list = ?1 AND key = x'' LIMIT 1"),
      add_(database, "INSERT INTO title_words(word) VALUES(?1)"),
      remove_(database, "INSERT INTO title_words(title_words, rowid, word) "
                        "VALUES('delete', ?1, ?2)") {
  if (old_titles_ > 0) {
    add_old_.emplace(database, "INSERT INTO song_words(rowid, title) VALUES(?1, ?2)");
    remove_old_.emplace(database, "INSERT INTO song_words(song_words, rowid, title) "
                                  "VALUES('delete', ?1, ?2)");
  }
}

void TitleWriter::Add(int32_t song, std::string_view title) {
  if (song <= old_titles_) {
    const std::string marked = MarkedText(title);
    return add_old_->Bind(1, int64_t{song}).Bind(2, marked).Run();
  }
  for (const std::string &word : MarkedPieces(title)) {
    lists_.Member(IdOf(word), Membership::kTitles, song, true);
  }
}

void TitleWriter::Remove(int32_t song, std::string_view title) {
  if (song <= old_titles_) {
    const std::string marked = MarkedText(title);
    return remove_old_->Bind(1, int64_t{song}).Bind(2, marked).Run();
  }
  for (const std::string &word : MarkedPieces(title)) {
    const int32_t id = IdOf(word);
    lists_.Member(id, Membership::kTitles, song, false);
    removed_.emplace(word, id);
  }
}

/// Of a word, which becomes known where needed.
int32_t TitleWriter::IdOf(const std::string &word) {
  const auto [known, is_new] = ids_.emplace(word, 0);
  if (is_new) {
    const Reading reading(find_);
    find_.Bind(1, kTitleWords).BindBytes(2, word);
    known->second = find_.Step() ? static_cast<int32_t>(find_.Int64(0)) : Make(word);
  }
  return known->second;
}

int32_t TitleWriter::Make(const std::string &word) {
  const int32_t id = add_.Bind(1, word).Insert();
  lists_.Add(kTitleWords, word, id);
  return id;
}

bool TitleWriter::IsUsed(int32_t word) {
  const Reading reading(first_song_);
  return first_song_.Bind(1, MemberList(word, Membership::kTitles)).Step();
}

void TitleWriter::Flush() {
  for (const auto &[word, id] : removed_) {
    if (!IsUsed(id)) {
      remove_.Bind(1, int64_t{id}).Bind(2, word).Run();
      lists_.Remove(kTitleWords, word, id);
      ids_.erase(word);
    }
  }
  removed_.clear();
}

bool MoveOldTitles(Database &database) {
  constexpr int64_t kBatch = 1000;
  int64_t last = 1;
  database.Transact(Lock::kSongs, [&] {
    Statement songs(database, "SELECT id, title FROM songs WHERE id <= ?1 AND folder_id <> 0 "
                              "ORDER BY id DESC LIMIT ?2");
    songs.Bind(1, OldTitles(database)).Bind(2, kBatch);
    database.Execute("UPDATE catalog SET old_titles = 0"); // for the writer: they are its own now
    ListWriter lists(database);
    TitleWriter titles(database, lists);
    while (songs.Step()) {
      last = songs.Int64(0);
      titles.Add(static_cast<int32_t>(last), songs.View(1));
    }
    lists.Flush();
    if (last > 1) {
      Statement(database, "UPDATE catalog SET old_titles = ?1").Bind(1, last - 1).Run();
    } else {
      ForgetOldTitles(database);
    }
  });
  return last > 1;
}

void ForgetOldTitles(Database &database) {
  database.Execute("UPDATE catalog SET old_titles = 0; DROP TABLE IF EXISTS song_words");
}

} // namespace vexo::index
