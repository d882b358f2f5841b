// What users think of songs: star, rating, and how often they were played.
#include "api/resources.h"
#include "catalog/find_song.h"
#include "text/numbers.h"
#include "text/text.h"
#include <array>
#include <ctime>
#include <limits>

namespace vexo::api {
namespace {

constexpr int kHighestRating = 5;
constexpr std::size_t kLargestMarkBody = 1000; // bytes

Json::Value MarkJson(const index::Mark &mark) {
  Json::Value json(Json::objectValue);
  json["star"] = mark.time_starred != 0;
  json["rating"] = mark.rating;
  json["play_count"] = Json::Int64{mark.play_count};
  if (mark.time_starred != 0) {
    json["starred"] = Json::Int64{mark.time_starred};
  }
  if (mark.time_played != 0) {
    json["played"] = Json::Int64{mark.time_played};
  }
  return json;
}

/// The id of the path's song, if the user sees it.
std::optional<int32_t> VisibleSong(const Request &request) {
  const std::optional<int32_t> id = request.Id();
  return id && catalog::FindSong(request.User(), *id) ? id : std::nullopt;
}

Answer NoSuchSong() { return ProblemAnswer({404, "There is no such song.", "id"}); }

/// The members of a PUT's body.
std::variant<index::MarkChange, Problem> ReadChange(const Json::Value &body) {
  index::MarkChange change;
  if (body.isMember("star")) {
    if (!body["star"].isBool()) {
      return Problem{400, "The value is neither true nor false.", "star"};
    }
    change.star = body["star"].asBool();
  }
  if (body.isMember("rating")) {
    const Json::Value &rating = body["rating"];
    if (!rating.isInt() || rating.asInt() < 0 || rating.asInt() > kHighestRating) {
      return Problem{400, "The value is no whole number from 0 to 5.", "rating"};
    }
    change.rating = rating.asInt();
  }
  return change;
}

std::variant<index::MarkChange, Problem> ReadPlayed(const Json::Value &body) {
  if (!body["played"].isBool() || !body["played"].asBool()) {
    return Problem{400, "The value is not true.", "played"};
  }
  return index::MarkChange{.played = true};
}

using ReadMembers = std::variant<index::MarkChange, Problem> (*)(const Json::Value &body);

/// Changes the mark by what `read` makes of a body with the members `known`.
Answer ChangeMark(const Request &request, std::span<const std::string_view> known,
                  ReadMembers read) {
  const std::optional<int32_t> song = VisibleSong(request);
  if (!song) {
    return NoSuchSong();
  }
  const std::variant<Json::Value, Problem> body = ReadJsonBody(known, kLargestMarkBody);
  if (const auto *const problem = std::get_if<Problem>(&body)) {
    return ProblemAnswer(*problem);
  }
  std::variant<index::MarkChange, Problem> change = read(std::get<Json::Value>(body));
  if (const auto *const problem = std::get_if<Problem>(&change)) {
    return ProblemAnswer(*problem);
  }
  auto &members = std::get<index::MarkChange>(change);
  members.now = time(nullptr);
  const std::optional<index::Mark> mark =
      index::ProcessIndex().ChangeMark(request.User().id, *song, members);
  return mark ? JsonAnswer(MarkJson(*mark)) : NoSuchSong();
}

/// The ids of a text with commas between; a problem of the query for any other text.
std::vector<int32_t> ReadIds(Query &query, std::string_view text) {
  std::vector<int32_t> ids;
  for (const std::string &word : text::Split(text, ",")) {
    const std::optional<int64_t> id = text::ParseInteger(word);
    if (!id || *id <= 0 || *id > std::numeric_limits<int32_t>::max()) {
      query.Refuse("songs", "The value is no list of ids with commas between.");
      return {};
    }
    ids.push_back(static_cast<int32_t>(*id));
  }
  if (ids.size() > static_cast<std::size_t>(kMostItems)) {
    query.Refuse("songs", "The value names more than " + std::to_string(kMostItems) + " songs.");
  }
  return ids;
}

index::Page<index::SongMark> MarksOfSongs(const Request &request, const std::vector<int32_t> &ids,
                                          const Page &page) {
  index::Page<index::SongMark> marks;
  marks.items = index::ProcessIndex().MarksOf(request.User().id, ids);
  marks.total = static_cast<int64_t>(marks.items.size());
  const auto begin = marks.items.begin() + std::min(page.offset, marks.total);
  const auto end = begin + std::min<int64_t>(page.limit, marks.items.end() - begin);
  marks.items = {begin, end};
  return marks;
}

} // namespace

Answer GetMark(Request &request) {
  const std::optional<int32_t> song = VisibleSong(request);
  if (!song) {
    return NoSuchSong();
  }
  const std::vector<index::SongMark> marks =
      index::ProcessIndex().MarksOf(request.User().id, {*song});
  return JsonAnswer(MarkJson(marks.empty() ? index::Mark() : marks.front().mark));
}

Answer PutMark(Request &request) {
  static constexpr std::array<std::string_view, 2> kMembers = {"star", "rating"};
  return ChangeMark(request, kMembers, ReadChange);
}

Answer PostPlayed(Request &request) {
  static constexpr std::array<std::string_view, 1> kMembers = {"played"};
  return ChangeMark(request, kMembers, ReadPlayed);
}

Answer ListMarks(Request &request) {
  const Page page = ReadPage(request.query);
  const bool starred = request.query.Flag("star");
  const std::optional<std::string_view> songs = request.query.Text("songs");
  const std::vector<int32_t> ids = songs ? ReadIds(request.query, *songs) : std::vector<int32_t>();
  if (songs && request.query.Text("star")) {
    request.query.Refuse("star", "The songs are named already.");
  }
  if (request.query.problem()) {
    return ProblemAnswer(*request.query.problem());
  }
  const auto marks = songs ? MarksOfSongs(request, ids, page)
                           : index::ProcessIndex().ListMarks(request.User().id, starred,
                                                             {page.offset, page.limit});
  Json::Value items(Json::arrayValue);
  for (const index::SongMark &mark : marks.items) {
    Json::Value &item = items.append(MarkJson(mark.mark));
    item["song"] = mark.song;
  }
  return JsonAnswer(ListOf(marks.total, page, std::move(items)));
}

} // namespace vexo::api
