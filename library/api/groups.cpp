// Albums, artists, genres, composers, years and folders.
#include "api/browse_query.h"
#include "api/group_json.h"
#include "api/resources.h"
#include "api/song_json.h"
#include <array>

namespace vexo::api {
namespace {

using index::Group;
using index::GroupField;
using index::GroupKind;

constexpr std::array kAlbumSorts = {
    SortName<GroupField>{"artist", GroupField::kArtist},
    SortName<GroupField>{"name", GroupField::kName},
    SortName<GroupField>{"year", GroupField::kYear},
    SortName<GroupField>{"added", GroupField::kTimeAdded},
    SortName<GroupField>{"songs", GroupField::kSongs},
    SortName<GroupField>{"duration", GroupField::kDuration},
};

constexpr std::array kNameSorts = {
    SortName<GroupField>{"name", GroupField::kName},
    SortName<GroupField>{"songs", GroupField::kSongs},
    SortName<GroupField>{"albums", GroupField::kAlbums},
    SortName<GroupField>{"duration", GroupField::kDuration},
};

template <typename Item, typename ToJson>
Json::Value ItemsJson(const std::vector<Item> &items, ToJson to_json) {
  Json::Value array(Json::arrayValue);
  for (const Item &item : items) {
    array.append(to_json(item));
  }
  return array;
}

index::Range RangeOf(const Page &page) { return {page.offset, page.limit}; }

/// The list of a kind, with what all kinds have in common.
index::GroupList ReadList(Query &query, GroupKind kind) {
  index::GroupList list;
  list.kind = kind;
  list.words = ReadWords(query);
  list.ascending = ReadAscending(query);
  return list;
}

Answer ListAnswer(const index::GroupList &list, const Page &page, const std::string &etag) {
  const index::Page<Group> groups = index::ProcessIndex().ListGroups(list, RangeOf(page));
  const bool albums = list.kind == GroupKind::kAlbum;
  return JsonAnswer(
      ListOf(groups.total, page, ItemsJson(groups.items, albums ? AlbumJson : NameJson)), etag);
}

Answer Names(Request &request, GroupKind kind) {
  index::GroupList list = ReadList(request.query, kind);
  list.sort = ReadSort<GroupField>(request.query, kNameSorts, {GroupField::kName});
  const Page page = ReadPage(request.query);
  list.owner = OwnerOf(request.User(), request.query);
  if (request.query.problem()) {
    return ProblemAnswer(*request.query.problem());
  }
  const std::string etag = IndexETag(request);
  std::optional<Answer> not_modified = NotModified(etag);
  return not_modified ? *std::move(not_modified) : ListAnswer(list, page, etag);
}

/// Reads which albums have something in common; of several such parameters, the others must agree.
std::optional<Problem> ReadAlbumGroups(Request &request, index::GroupList &list) {
  GroupParameters groups(request);
  list.artist_id = groups.Read("album_artist", GroupKind::kArtist);
  list.parent_id = groups.Read("folder", GroupKind::kFolder);
  for (const auto &[name, kind] : {std::pair{"artist", GroupKind::kArtist},
                                   {"genre", GroupKind::kGenre},
                                   {"composer", GroupKind::kComposer}}) {
    if (const int32_t id = groups.Read(name, kind); id != 0) {
      list.in_groups.push_back(id);
    }
  }
  list.owner = groups.owner();
  return groups.problem();
}

/// The group that the path names, and its page; a problem, or 304.
struct Place {
  std::optional<Group> group;
  Page page;
  std::string etag;
  std::optional<Answer> instead;
};

Place FindPlace(Request &request, GroupKind kind) {
  Place place;
  place.page = ReadPage(request.query);
  if (request.query.problem()) {
    place.instead = ProblemAnswer(*request.query.problem());
    return place;
  }
  place.etag = IndexETag(request);
  place.instead = NotModified(place.etag);
  if (!place.instead) {
    const std::optional<int32_t> id = request.Id();
    place.group = id ? catalog::FindGroup(request.User(), kind, *id) : std::nullopt;
  }
  if (!place.instead && !place.group) {
    place.instead = ProblemAnswer({404, "There is nothing with this id.", "id"});
  }
  return place;
}

/// One of a kind that has a name, as the member `member`, and the albums with songs of it.
Answer NameAnswer(Request &request, GroupKind kind, const char *member) {
  Place place = FindPlace(request, kind);
  if (place.instead) {
    return *std::move(place.instead);
  }
  index::GroupList list;
  list.owner = place.group->owner;
  list.in_groups = {place.group->id};
  list.sort = {GroupField::kYear, GroupField::kName};
  const auto albums = index::ProcessIndex().ListGroups(list, RangeOf(place.page));
  Json::Value document = ListOf(albums.total, place.page, ItemsJson(albums.items, AlbumJson));
  document[member] = NameJson(*place.group);
  return JsonAnswer(document, place.etag);
}

Answer FolderAnswer(const Request &request, const Group &folder, const Page &page,
                    const std::string &etag) {
  const catalog::Library library = catalog::LibraryOf(request.User(), folder.owner);
  const catalog::FolderContent content = catalog::ReadFolder(folder, RangeOf(page));
  Json::Value items(Json::arrayValue);
  for (const Group &child : content.folders) {
    items.append(Json::Value(Json::objectValue))["folder"] = FolderJson(child, library);
  }
  for (const index::CatalogSong &song : content.songs) {
    items.append(Json::Value(Json::objectValue))["song"] = SongJson(song);
  }
  Json::Value document = ListOf(content.total, page, std::move(items));
  document["folder"] = FolderJson(folder, library);
  document["parents"] = ItemsJson(catalog::ParentsOf(folder, library), [&](const Group &parent) {
    Json::Value json(Json::objectValue);
    json["id"] = parent.id;
    json["name"] = NameOfFolder(parent, library);
    return json;
  });
  return JsonAnswer(document, etag);
}

} // namespace

Answer ListAlbums(Request &request) {
  index::GroupList list = ReadList(request.query, GroupKind::kAlbum);
  list.sort = ReadSort<GroupField>(request.query, kAlbumSorts,
                                   {GroupField::kArtist, GroupField::kYear, GroupField::kName});
  const Years years = ReadYears(request.query);
  list.year_from = years.from;
  list.year_to = years.to;
  const Page page = ReadPage(request.query);
  ReadOwner(request);
  if (request.query.problem()) {
    return ProblemAnswer(*request.query.problem());
  }
  const std::string etag = IndexETag(request);
  if (std::optional<Answer> not_modified = NotModified(etag)) {
    return *std::move(not_modified);
  }
  const std::optional<Problem> problem = ReadAlbumGroups(request, list);
  return problem ? ProblemAnswer(*problem) : ListAnswer(list, page, etag);
}

Answer ListArtists(Request &request) { return Names(request, GroupKind::kArtist); }
Answer ListGenres(Request &request) { return Names(request, GroupKind::kGenre); }
Answer ListComposers(Request &request) { return Names(request, GroupKind::kComposer); }
Answer ListYears(Request &request) { return Names(request, GroupKind::kYear); }

Answer GetAlbum(Request &request) {
  Place place = FindPlace(request, GroupKind::kAlbum);
  if (place.instead) {
    return *std::move(place.instead);
  }
  const auto songs = catalog::AlbumSongs(*place.group, RangeOf(place.page));
  const auto to_json = [](const index::CatalogSong &song) { return SongJson(song); };
  Json::Value document = ListOf(songs.total, place.page, ItemsJson(songs.items, to_json));
  document["album"] = AlbumJson(*place.group);
  return JsonAnswer(document, place.etag);
}

Answer GetArtist(Request &request) { return NameAnswer(request, GroupKind::kArtist, "artist"); }
Answer GetGenre(Request &request) { return NameAnswer(request, GroupKind::kGenre, "genre"); }
Answer GetComposer(Request &request) {
  return NameAnswer(request, GroupKind::kComposer, "composer");
}
Answer GetYear(Request &request) { return NameAnswer(request, GroupKind::kYear, "year"); }

Answer GetFolder(Request &request) {
  Place place = FindPlace(request, GroupKind::kFolder);
  return place.instead ? *std::move(place.instead)
                       : FolderAnswer(request, *place.group, place.page, place.etag);
}

/// A library without songs has no folders, and is no error.
Answer GetTopFolder(Request &request) {
  const Page page = ReadPage(request.query);
  const int owner = OwnerOf(request.User(), request.query);
  if (request.query.problem()) {
    return ProblemAnswer(*request.query.problem());
  }
  const std::string etag = IndexETag(request);
  if (std::optional<Answer> not_modified = NotModified(etag)) {
    return *std::move(not_modified);
  }
  const std::optional<Group> top = catalog::TopFolder(catalog::LibraryOf(request.User(), owner));
  return top ? FolderAnswer(request, *top, page, etag)
             : JsonAnswer(ListOf(0, page, Json::Value(Json::arrayValue)), etag);
}

} // namespace vexo::api
