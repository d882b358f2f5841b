// What brings the index into order.

#include "index/ids.h"
#include "index/lists.h"
#include "index/rows.h"
#include "index/song_writer.h"
#include "index/sql_index.h"
#include "index/texts.h"

namespace vexo::index {
namespace {

/// Songs behind `last` that are not in the catalog as yet; nothing: all are.
IdSet UncataloguedSongs(Database &database, int32_t last) {
  constexpr int64_t kBatch = 1000;
  Statement songs(database, "SELECT id FROM songs WHERE folder_id = 0 AND id > ?1 "
                            "ORDER BY id LIMIT ?2");
  return ReadIds(songs.Bind(1, int64_t{last}).Bind(2, kBatch));
}

void TakeIntoCatalog(Database &database, const IdSet &ids) {
  SongWriter writer(database);
  for (const int32_t id : ids) {
    writer.Complete(id);
  }
  writer.Flush();
}

/// All songs, for search by keywords.
void FillTexts(Database &database) {
  ListWriter lists(database); // remains empty
  const std::unique_ptr<TextWriter> texts = database.texts().MakeWriter(lists);
  Statement songs(database, "SELECT " VEXO_SONG_COLUMNS " FROM songs ORDER BY id");
  while (songs.Step()) {
    texts->AddSong(ReadSong(songs));
  }
}

} // namespace

void SqlIndex::CompleteCatalog() {
  if (database_.Number("SELECT complete FROM catalog") != 0) {
    return;
  }
  BeginBatches();
  for (IdSet ids = UncataloguedSongs(database_, 0); !ids.empty();
       ids = UncataloguedSongs(database_, ids.back())) {
    database_.Transact(Lock::kSongs, [&] { TakeIntoCatalog(database_, ids); });
  }
  database_.Execute("UPDATE catalog SET complete = 1");
}

std::vector<std::string> SqlIndex::FindDamage() {
  std::vector<std::string> findings;
  try {
    FindOwnDamage(findings);
    for (std::string &finding : FindListDamage(database_)) {
      findings.push_back(std::move(finding));
    }
  } catch (const IndexError &error) {
    findings.emplace_back(error.what());
  }
  return findings;
}

/// Groups keep their ids: those that songs still have are found again by their identities.
void SqlIndex::RepairDamage() {
  database_.Transact(Lock::kSongs, [&] {
    ClearTexts();
    database_.Execute("DELETE FROM entries; DELETE FROM marks; DELETE FROM group_albums;"
                      "UPDATE song_groups SET uses = 0, songs = 0, duration_ms = 0, size = 0,"
                      " albums = 0, cover_song = 0;"
                      "UPDATE songs SET folder_id = 0");
    FillTexts(database_);
    for (IdSet ids = UncataloguedSongs(database_, 0); !ids.empty();
         ids = UncataloguedSongs(database_, ids.back())) {
      TakeIntoCatalog(database_, ids);
    }
    database_.Execute("DELETE FROM song_groups WHERE uses = 0; UPDATE catalog SET complete = 1");
  });
}

} // namespace vexo::index
