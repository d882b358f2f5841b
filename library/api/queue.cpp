// The user's own queue.
#include "catalog/queue.h"
#include "api/if_match.h"
#include "api/queue_items.h"
#include "api/resources.h"
#include "api/song_json.h"
#include "playlists/playlist_text.h"
#include <array>
#include <ctime>

namespace vexo::api {
namespace {

using catalog::QueuePlace;
using Entries = std::vector<catalog::QueueEntry>;

constexpr std::size_t kLargestQueueBody = std::size_t{16} << 20U;
constexpr double kMostElapsed = 1e7; ///< seconds

std::variant<QueuePlace, Problem> ReadPlace(const Json::Value &body) {
  const Json::Value position = body.get("position", 0);
  const Json::Value elapsed = body.get("elapsed", 0);
  if (!position.isUInt() || position.asUInt() > playlists::kMaxEntries) {
    return Problem{400, "The position is no whole number from 0 to 100000.", "position"};
  }
  if (!elapsed.isNumeric() || !(elapsed.asDouble() >= 0 && elapsed.asDouble() <= kMostElapsed)) {
    return Problem{400, "The seconds are no number from 0 to 10000000.", "elapsed"};
  }
  return QueuePlace{position.asUInt(), elapsed.asDouble(), std::time(nullptr)};
}

Json::Value QueueItems(const accounts::Account &user, const catalog::Queue &queue) {
  const catalog::SongsAtPaths songs(user, queue.entries);
  Json::Value items(Json::arrayValue);
  for (const catalog::ListEntry &entry : queue.entries) {
    const index::Song *const song = entry.is_stream ? nullptr : songs.Find(entry.path);
    Json::Value &item = items.append(Json::Value(Json::objectValue));
    item["position"] = Json::UInt64{entry.position};
    if (song != nullptr) {
      item["song"] = SongJson(*song);
      continue;
    }
    AddText(item, "title", entry.title);
    AddSeconds(item, "duration", entry.duration_seconds);
    if (entry.is_stream) {
      item["stream"] = entry.path;
    } else {
      item["missing"] = true;
    }
  }
  return items;
}

Answer QueueAnswer(const accounts::Account &user, const catalog::Queue &queue, const Page &page) {
  Json::Value document = ListOf(static_cast<int64_t>(queue.size), page, QueueItems(user, queue));
  document["position"] = Json::UInt64{queue.place.position};
  document["elapsed"] = queue.place.elapsed_seconds;
  AddNumber(document, "updated", queue.place.updated);
  return JsonAnswer(document, MakeETag(queue.version));
}

/// What an edit came to: the queue as it is now, without its entries.
Answer EditAnswer(const accounts::Account &user, catalog::QueueEdit outcome) {
  switch (outcome) {
  case catalog::QueueEdit::kStale:
    return ProblemAnswer({412, "The queue has changed since it was read.", {}});
  case catalog::QueueEdit::kBeyond:
    return ProblemAnswer({400, "The queue has no entry at this position.", "position"});
  case catalog::QueueEdit::kDone:
    break;
  }
  return QueueAnswer(user, catalog::ReadQueue(user, 0, 0), Page{});
}

} // namespace

Answer GetQueue(Request &request) {
  const Page page = ReadPage(request.query);
  if (request.query.problem()) {
    return ProblemAnswer(*request.query.problem());
  }
  const catalog::Queue queue = catalog::ReadQueue(
      request.User(), static_cast<std::size_t>(page.offset), static_cast<std::size_t>(page.limit));
  std::optional<Answer> not_modified = NotModified(MakeETag(queue.version));
  return not_modified ? *std::move(not_modified) : QueueAnswer(request.User(), queue, page);
}

Answer PutQueue(Request &request) {
  constexpr std::array<std::string_view, 3> kMembers = {"elapsed", "items", "position"};
  const auto body = ReadJsonBody(kMembers, kLargestQueueBody);
  if (const auto *problem = std::get_if<Problem>(&body)) {
    return ProblemAnswer(*problem);
  }
  const auto &document = std::get<Json::Value>(body);
  const auto place = ReadPlace(document);
  if (const auto *problem = std::get_if<Problem>(&place)) {
    return ProblemAnswer(*problem);
  }
  std::optional<Entries> entries;
  if (document.isMember("items")) {
    auto read = ReadQueueItems(request.User(), document["items"]);
    if (const auto *problem = std::get_if<Problem>(&read)) {
      return ProblemAnswer(*problem);
    }
    entries = std::get<Entries>(std::move(read));
  }
  return EditAnswer(request.User(), catalog::WriteQueue(request.User(), std::get<QueuePlace>(place),
                                                        entries, MeetsIfMatch));
}

} // namespace vexo::api
