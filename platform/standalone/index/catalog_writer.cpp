#include "index/catalog_writer.h"
#include "index/orders.h"
#include "index/sort_keys.h"

#include <cmath>

namespace vexo::index {

CatalogWriter::CatalogWriter(Database &database, ListWriter &lists, TextWriter &texts)
    : lists_(lists), groups_(database, lists, texts), texts_(texts),
      next_revision_(database, "UPDATE catalog SET revision = revision + 1") {}

SongGroups CatalogWriter::Resolve(const Song &song) {
  const SongIdentity identity = IdentifySong(song);
  SongGroups groups;
  groups.folder = groups_.ResolveFolder(song.owner, identity.folder.identity);
  groups.album =
      groups_.Resolve(song.owner, identity.album, groups_.Known(song.owner, identity.album_folder));
  groups.album_artist = groups_.Resolve(song.owner, identity.album_artist);
  groups.artist = groups_.Resolve(song.owner, identity.artist);
  groups.genre = groups_.Resolve(song.owner, identity.genre);
  groups.composer = groups_.Resolve(song.owner, identity.composer);
  groups_.Resolve(song.owner, identity.year);
  return groups;
}

void CatalogWriter::Share(const Song &song, const SongGroups &groups, int sign) {
  const int64_t duration_ms = std::llround(song.duration_seconds * 1000);
  const index::Share share{song.id, sign, sign, sign * duration_ms,
                           sign * static_cast<int64_t>(song.size_bytes)};
  const int32_t year = groups_.Known(song.owner, IdentifySong(song).year);
  for (const int32_t group : {groups.album, groups.artist, groups.genre, groups.composer, year}) {
    groups_.Count(group, share);
  }
  groups_.Count(groups.album_artist, {song.id, sign, 0, 0, 0});
  groups_.CountFolders(groups.folder, share);
  ShareAlbum(groups, year, sign);
  for (const int32_t group :
       {groups.album, groups.artist, groups.genre, groups.composer, groups.folder}) {
    lists_.Member(group, Membership::kSongs, song.id, sign > 0);
  }
  lists_.Member(groups.album_artist, Membership::kAlbumArtistSongs, song.id, sign > 0);
  for (const SongOrder &order : kSongOrders) {
    ShareList(song, order.number, SongSortKey(song, groups, order.fields()), sign);
  }
  ShareList(song, kSongsByFileName, NameKey(FileStem(song.path)), sign);
}

void CatalogWriter::ShareList(const Song &song, int order, std::string key, int sign) {
  const int64_t list = ListNumber(song.owner, order);
  if (sign > 0) {
    lists_.Add(list, std::move(key), song.id);
  } else {
    lists_.Remove(list, std::move(key), song.id);
  }
}

void CatalogWriter::ShareAlbum(const SongGroups &groups, int32_t year, int sign) {
  for (const int32_t group : {groups.artist, groups.genre, groups.composer, year}) {
    groups_.Link(group, groups.album, sign);
  }
  if (groups.album_artist != groups.artist) {
    groups_.Link(groups.album_artist, groups.album, sign);
  }
}

void CatalogWriter::Enter(const Song &song, const SongGroups &groups) {
  Share(song, groups, 1);
  texts_.AddTitle(song.id, song.title);
}

void CatalogWriter::Leave(const Song &song, const SongGroups &groups) {
  Share(song, groups, -1);
  texts_.RemoveTitle(song.id, song.title);
}

void CatalogWriter::Replace(const Song &old, const SongGroups &old_groups, const Song &now,
                            const SongGroups &now_groups) {
  Share(old, old_groups, -1);
  Share(now, now_groups, 1);
  if (old.title != now.title) {
    texts_.RemoveTitle(old.id, old.title);
    texts_.AddTitle(now.id, now.title);
  }
}

void CatalogWriter::Flush() {
  lists_.Flush(); // albums look at their songs
  groups_.Flush();
  texts_.Flush();
  lists_.Flush();
  next_revision_.Run();
}

} // namespace vexo::index
