// The queues of players.
#include "api/player_answers.h"
#include "api/queue_items.h"
#include "api/resources.h"
#include "catalog/playlists.h"
#include "playlists/playlist_text.h"
#include <algorithm>
#include <array>
#include <utility>

namespace vexo::api {
namespace {

using catalog::Player;
using catalog::PlayerQuestion;
using system::PlayerCommand;

/// The entries [offset, offset + limit) of a player's queue, which come a few at a time; a problem
/// when one page fails. `total` becomes the length of the queue.
std::variant<Json::Value, Problem> FetchEntries(const Player &player, const Page &page,
                                                int64_t &total) {
  Json::Value entries(Json::arrayValue);
  for (int64_t offset = page.offset; offset < page.offset + std::max<int64_t>(page.limit, 1);) {
    const int64_t left = page.offset + page.limit - offset;
    const Json::Value reply =
        Parsed(PlayerQuestion(PlayerCommand::kQueue, {player.number, offset, left}).Answer());
    if (std::optional<Problem> problem = FailureOf(reply)) {
      return *std::move(problem);
    }
    total = reply["total"].asInt64();
    for (const Json::Value &entry : reply["uris"]) {
      entries.append(entry);
    }
    offset += reply["uris"].size();
    if (reply["uris"].empty()) {
      break;
    }
  }
  return entries;
}

/// Paths and addresses, and empty texts for what cannot be played; or why there are none.
using SongPaths = std::variant<std::vector<std::string>, Problem>;

SongPaths SongsOfIds(const Request &request, const Json::Value &array) {
  if (!array.isArray() || array.empty() || array.size() > catalog::kMostPlayed) {
    return Problem{400, "The member is no array of 1 to 100,000 ids of songs.", "songs"};
  }
  std::vector<int32_t> ids;
  for (const Json::Value &id : array) {
    if (!id.isInt() || id.asInt() <= 0) {
      return Problem{400, "An element is no id of a song.", "songs"};
    }
    ids.push_back(id.asInt());
  }
  return catalog::PathsOfSongs(request.User(), ids);
}

SongPaths SongsOfPlaylist(const Request &request, const Json::Value &id) {
  const std::optional<catalog::Playlist> playlist =
      id.isString() ? catalog::FindPlaylist(request.User(), id.asString()) : std::nullopt;
  if (!playlist) {
    return Problem{404, "There is no such playlist.", "playlist"};
  }
  try {
    return catalog::PathsOfPlaylist(request.User(), *playlist);
  } catch (const playlists::UnreadableError &error) {
    return Problem{409, std::string("The playlist cannot be read: ") + error.what(), "playlist"};
  }
}

SongPaths SongsOfItems(const Request &request, const Json::Value &array) {
  auto entries = ReadQueueItems(request.User(), array);
  if (Problem *problem = std::get_if<Problem>(&entries)) {
    return *std::move(problem);
  }
  std::vector<std::string> paths;
  for (catalog::QueueEntry &entry : std::get<std::vector<catalog::QueueEntry>>(entries)) {
    const bool is_played = !catalog::IsStream(entry.path) || catalog::ComesByNetwork(entry.path);
    paths.push_back(is_played ? std::move(entry.path) : std::string());
  }
  return paths;
}

/// The songs that the body names, by one member.
SongPaths SongsOf(const Request &request, const Json::Value &body) {
  constexpr std::array kKinds = {"songs", "items", "playlist"};
  if (std::ranges::count_if(kKinds, [&](const char *kind) { return body.isMember(kind); }) != 1) {
    return Problem{400, "The body has to have one of songs, items and playlist.", "songs"};
  }
  return body.isMember("playlist") ? SongsOfPlaylist(request, body["playlist"])
         : body.isMember("items")  ? SongsOfItems(request, body["items"])
                                   : SongsOfIds(request, body["songs"]);
}

/// How a queue is filled.
struct Filling {
  PlayerCommand command = PlayerCommand::kReplaceQueue;
  std::size_t position = 0; ///< of the song to begin with, when the queue is replaced
  std::vector<std::string> songs{};
};

std::variant<PlayerCommand, Problem> CommandOf(const Json::Value &mode) {
  constexpr std::array kModes = {std::pair{"replace", PlayerCommand::kReplaceQueue},
                                 std::pair{"append", PlayerCommand::kAppendToQueue},
                                 std::pair{"next", PlayerCommand::kPlayNext}};
  const auto *const found = std::find_if(kModes.begin(), kModes.end(),
                                         [&](const auto &known) { return mode == known.first; });
  if (found == kModes.end()) {
    return Problem{400, "The member is none of replace, append and next.", "mode"};
  }
  return found->second;
}

/// Takes out what cannot be played: the position becomes that of the same song, or of the next one.
void KeepPlayable(Filling &filling) {
  const auto begin = filling.songs.begin() + static_cast<std::ptrdiff_t>(filling.position);
  filling.position -= static_cast<std::size_t>(std::count(filling.songs.begin(), begin, ""));
  std::erase(filling.songs, "");
}

std::variant<Filling, Problem> ReadFilling(const Request &request, const Json::Value &body) {
  const auto command = CommandOf(body.get("mode", "replace"));
  if (const Problem *problem = std::get_if<Problem>(&command)) {
    return *problem;
  }
  Filling filling{.command = std::get<PlayerCommand>(command)};
  if (body.isMember("position") && filling.command != PlayerCommand::kReplaceQueue) {
    return Problem{400, "Only songs that replace the queue begin somewhere.", "position"};
  }
  SongPaths songs = SongsOf(request, body);
  if (Problem *problem = std::get_if<Problem>(&songs)) {
    return *std::move(problem);
  }
  filling.songs = std::get<std::vector<std::string>>(std::move(songs));
  const Json::Value position = body.get("position", 0);
  if (!position.isUInt() || (position != 0 && position.asUInt() >= filling.songs.size())) {
    return Problem{400, "The member is the position of no song.", "position"};
  }
  filling.position = position.asUInt();
  KeepPlayable(filling);
  if (filling.songs.empty()) {
    return NotFound("There is nothing of it to play.");
  }
  return filling;
}

/// A whole number of a body: a position in a queue, or a count of songs.
struct Member {
  std::string_view name;
  int64_t least = 0;
  std::optional<int64_t> usual{}; ///< where it is not there; nothing: it has to be
};

/// Tells the player of the path two numbers of the body.
Answer TellNumbers(const Request &request, PlayerCommand command,
                   const std::array<Member, 2> &members) {
  const std::optional<Player> player = FindPlayer(request);
  if (!player) {
    return NoPlayer();
  }
  const auto body = ReadJsonBody(std::array{members[0].name, members[1].name});
  if (const Problem *problem = std::get_if<Problem>(&body)) {
    return ProblemAnswer(*problem);
  }
  std::array<int64_t, 2> numbers{};
  for (std::size_t i = 0; i < members.size(); ++i) {
    const auto &[name, least, usual] = members[i];
    const Json::Value &number = std::get<Json::Value>(body)[std::string(name)];
    numbers[i] = number.isNull() ? usual.value_or(-1) : number.isInt() ? number.asInt() : -1;
    if (numbers[i] < least || numbers[i] > static_cast<int64_t>(catalog::kMostPlayed)) {
      return ProblemAnswer({400,
                            "The member is no whole number from " + std::to_string(least) + " to " +
                                std::to_string(catalog::kMostPlayed) + ".",
                            std::string(name)});
    }
  }
  return Told(*player, {command, {player->number, numbers[0], numbers[1]}}, request);
}

} // namespace

Answer GetPlayerQueue(Request &request) {
  const std::optional<Player> player = FindPlayer(request);
  const Page page = ReadPage(request.query);
  if (!player) {
    return NoPlayer();
  }
  if (request.query.problem()) {
    return ProblemAnswer(*request.query.problem());
  }
  int64_t total = 0;
  const std::variant<Json::Value, Problem> entries = FetchEntries(*player, page, total);
  if (const Problem *problem = std::get_if<Problem>(&entries)) {
    return ProblemAnswer(*problem);
  }
  return JsonAnswer(ListOf(total, page, ShownEntries(std::get<Json::Value>(entries), request)));
}

Answer FillPlayerQueue(Request &request) {
  constexpr std::array<std::string_view, 5> kMembers = {"songs", "items", "playlist", "mode",
                                                        "position"};
  const std::optional<Player> player = FindPlayer(request);
  if (!player) {
    return NoPlayer();
  }
  const std::variant<Json::Value, Problem> body = ReadJsonBody(kMembers);
  if (const Problem *problem = std::get_if<Problem>(&body)) {
    return ProblemAnswer(*problem);
  }
  const auto read = ReadFilling(request, std::get<Json::Value>(body));
  if (const Problem *problem = std::get_if<Problem>(&read)) {
    return ProblemAnswer(*problem);
  }
  const auto &[command, position, songs] = std::get<Filling>(read);
  const auto begin = static_cast<int64_t>(position);
  PlayerQuestion question = command == PlayerCommand::kReplaceQueue
                                ? PlayerQuestion(command, {player->number, begin}, &songs)
                                : PlayerQuestion(command, {player->number}, &songs);
  const Json::Value reply = Parsed(question.Answer());
  const std::optional<Problem> problem = FailureOf(reply);
  return problem ? ProblemAnswer(*problem) : JsonAnswer(reply);
}

Answer RemoveFromPlayerQueue(Request &request) {
  return TellNumbers(request, PlayerCommand::kRemove, {Member{"position"}, Member{"count", 1, 1}});
}

Answer MoveInPlayerQueue(Request &request) {
  return TellNumbers(request, PlayerCommand::kMove, {Member{"from"}, Member{"to"}});
}

} // namespace vexo::api
