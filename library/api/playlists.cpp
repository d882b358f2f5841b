// The playlists that there are.
#include "catalog/playlists.h"
#include "api/playlist_json.h"
#include "api/resources.h"
#include "api/song_json.h"
#include "catalog/list_facts.h"
#include "playlists/version.h"
#include "text/search_folding.h"
#include "text/text.h"
#include <algorithm>
#include <span>

namespace vexo::api {
namespace {

using catalog::Playlist;
using catalog::PlaylistKind;

/// Which playlists are asked for, and in which order.
struct Choice {
  std::string_view library, kind, sort;
  std::vector<std::string> words; ///< folded
  bool descends = false;
};

Choice ReadChoice(Query &query) {
  Choice choice{.library = query.Choice("library", {"all", "shared", "personal"}),
                .kind = query.Choice("kind", {"all", "list", "smart", "random"}),
                .sort = query.Choice("sort", {"name", "changed"}),
                .words = text::Split(text::FoldForSearch(query.Text("q").value_or("")), " ")};
  choice.descends = query.Choice("dir", {"asc", "desc"}) == "desc";
  return choice;
}

/// A playlist, and its name as it is looked for.
struct Named {
  const Playlist *playlist;
  std::string folded_name;
};

bool IsChosen(const Named &named, const Choice &choice) {
  const auto is_asked_for = [](std::string_view asked, std::string_view is) {
    return asked == "all" || asked == is;
  };
  return is_asked_for(choice.library, named.playlist->is_personal ? "personal" : "shared") &&
         is_asked_for(choice.kind, NameOf(named.playlist->kind)) &&
         std::all_of(choice.words.begin(), choice.words.end(), [&](const std::string &word) {
           return named.folded_name.find(word) != std::string::npos;
         });
}

bool IsBefore(const Named &a, const Named &b, bool by_time) {
  if (by_time && a.playlist->file.modified_ns != b.playlist->file.modified_ns) {
    return a.playlist->file.modified_ns < b.playlist->file.modified_ns;
  }
  return a.folded_name != b.folded_name ? a.folded_name < b.folded_name
                                        : a.playlist->id < b.playlist->id;
}

std::vector<Named> Chosen(const std::vector<Playlist> &playlists, const Choice &choice) {
  std::vector<Named> chosen;
  chosen.reserve(playlists.size());
  for (const Playlist &playlist : playlists) {
    Named named{&playlist, text::FoldForSearch(playlist.name)};
    if (IsChosen(named, choice)) {
      chosen.push_back(std::move(named));
    }
  }
  return chosen;
}

/// Changes with everything that the answer for these playlists tells.
std::string ETagOf(const std::vector<Named> &chosen) {
  // Songs of the index tell how long entries play whose length their list does not tell.
  std::string state = std::to_string(index::ProcessIndex().Revision()) + "\n";
  for (const Named &named : chosen) {
    const Playlist &playlist = *named.playlist;
    state.append(playlist.id).append("\n").append(playlist.name).append("\n");
    state.append(playlist.version).append("\n");
    catalog::AppendState(state, playlist.file);
  }
  return MakeETag(playlists::ContentVersion(state));
}

/// Those of a page; only as much of the order is made as it takes.
std::span<const Named> PageOf(std::vector<Named> &chosen, const Choice &choice, const Page &page) {
  const auto total = static_cast<int64_t>(chosen.size());
  const int64_t first = std::min(page.offset, total);
  const int64_t count = std::min(page.limit, total - first);
  const bool by_time = choice.sort == "changed";
  std::partial_sort(chosen.begin(), chosen.begin() + first + count, chosen.end(),
                    [&](const Named &a, const Named &b) {
                      return choice.descends ? IsBefore(b, a, by_time) : IsBefore(a, b, by_time);
                    });
  return std::span(chosen).subspan(static_cast<std::size_t>(first),
                                   static_cast<std::size_t>(count));
}

Json::Value PlaylistItems(const accounts::Account &user, std::span<const Named> page) {
  catalog::FactsReader facts(user);
  Json::Value items(Json::arrayValue);
  for (const Named &named : page) {
    const Playlist &playlist = *named.playlist;
    items.append(playlist.kind == PlaylistKind::kList ? ListJson(playlist, facts.Of(playlist))
                                                      : PlaylistJson(playlist));
  }
  return items;
}

} // namespace

Answer Playlists(Request &request) {
  const Choice choice = ReadChoice(request.query);
  const Page page = ReadPage(request.query);
  if (request.query.problem()) {
    return ProblemAnswer(*request.query.problem());
  }
  const std::vector<Playlist> playlists = catalog::PlaylistsOf(request.User());
  std::vector<Named> chosen = Chosen(playlists, choice);
  const std::string etag = ETagOf(chosen);
  if (std::optional<Answer> answer = NotModified(etag)) {
    return *std::move(answer);
  }
  return JsonAnswer(ListOf(static_cast<int64_t>(chosen.size()), page,
                           PlaylistItems(request.User(), PageOf(chosen, choice, page))),
                    etag);
}

} // namespace vexo::api
