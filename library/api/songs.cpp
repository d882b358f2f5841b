// Songs, and one song with all its tags.
#include "api/browse_query.h"
#include "api/resources.h"
#include "api/song_json.h"
#include "catalog/browse.h"
#include "text/case_folding.h"
#include <array>

namespace vexo::api {
namespace {

using index::Field;
using index::GroupKind;

constexpr std::array kSongSorts = {
    SortName<Field>{"title", Field::kTitle},
    SortName<Field>{"artist", Field::kArtist},
    SortName<Field>{"album", Field::kAlbum},
    SortName<Field>{"album_artist", Field::kAlbumArtist},
    SortName<Field>{"genre", Field::kGenre},
    SortName<Field>{"composer", Field::kComposer},
    SortName<Field>{"year", Field::kYear},
    SortName<Field>{"track", Field::kTrack},
    SortName<Field>{"disc", Field::kDisc},
    SortName<Field>{"duration", Field::kSongLength},
    SortName<Field>{"added", Field::kTimeAdded},
    SortName<Field>{"modified", Field::kTimeModified},
    SortName<Field>{"size", Field::kFileSize},
    SortName<Field>{"bitrate", Field::kBitrate},
    SortName<Field>{"type", Field::kType},
    SortName<Field>{"path", Field::kPath},
};

index::SongList ReadSongList(Query &query) {
  index::SongList list;
  list.words = ReadWords(query);
  list.type = text::FoldCase(query.Text("type").value_or(""));
  list.sort = ReadSort<Field>(query, kSongSorts,
                              {Field::kArtist, Field::kAlbum, Field::kDisc, Field::kTrack});
  list.ascending = ReadAscending(query);
  const Years years = ReadYears(query);
  list.year_from = years.from;
  list.year_to = years.to;
  return list;
}

std::optional<Problem> ReadGroups(Request &request, index::SongList &list) {
  GroupParameters groups(request);
  list.groups.album = groups.Read("album", GroupKind::kAlbum);
  list.groups.artist = groups.Read("artist", GroupKind::kArtist);
  list.groups.album_artist = groups.Read("album_artist", GroupKind::kArtist);
  list.groups.genre = groups.Read("genre", GroupKind::kGenre);
  list.groups.composer = groups.Read("composer", GroupKind::kComposer);
  list.groups.folder = groups.Read("folder", GroupKind::kFolder);
  list.below = groups.Read("below", GroupKind::kFolder);
  list.owner = groups.owner();
  return groups.problem();
}

} // namespace

Answer ListSongs(Request &request) {
  index::SongList list = ReadSongList(request.query);
  const Page page = ReadPage(request.query);
  ReadOwner(request);
  if (request.query.problem()) {
    return ProblemAnswer(*request.query.problem());
  }
  const std::string etag = IndexETag(request);
  if (std::optional<Answer> not_modified = NotModified(etag)) {
    return *std::move(not_modified);
  }
  if (const std::optional<Problem> problem = ReadGroups(request, list)) {
    return ProblemAnswer(*problem);
  }
  const auto songs = index::ProcessIndex().ListSongs(list, {page.offset, page.limit});
  Json::Value items(Json::arrayValue);
  for (const index::CatalogSong &song : songs.items) {
    items.append(SongJson(song));
  }
  return JsonAnswer(ListOf(songs.total, page, std::move(items)), etag);
}

Answer GetSong(Request &request) {
  const std::string etag = IndexETag(request);
  if (std::optional<Answer> not_modified = NotModified(etag)) {
    return *std::move(not_modified);
  }
  const std::optional<int32_t> id = request.Id();
  const std::optional<index::CatalogSong> song =
      id ? catalog::FindCatalogSong(request.User(), *id) : std::nullopt;
  if (!song) {
    return ProblemAnswer({404, "There is no such song.", "id"});
  }
  return JsonAnswer(WholeSongJson(*song, catalog::LibraryOf(request.User(), song->song.owner)),
                    etag);
}

} // namespace vexo::api
