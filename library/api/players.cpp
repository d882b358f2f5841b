// The players of the house: what they play, and telling them what to do.
#include "catalog/players.h"
#include "api/resources.h"
#include "catalog/playlists.h"
#include "playlists/playlist_text.h"
#include "web/request.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

namespace vexo::api {
namespace {

using catalog::Player;
using catalog::PlayerQuestion;
using system::PlayerCommand;

constexpr double kMostSeconds = 1'000'000;

std::optional<Player> FindPlayer(const Request &request) {
  for (const Player &player : catalog::ConfiguredPlayers()) {
    if (request.variables[0] == std::to_string(player.number)) {
      return player;
    }
  }
  return std::nullopt;
}

Answer NoPlayer() { return ProblemAnswer(NotFound("There is no such player.")); }

/// What the daemon tells, as a document; a null one when it tells nothing.
Json::Value Parsed(const std::optional<std::string> &reply) {
  Json::Value document;
  const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
  if (!reply || !reader->parse(reply->data(), reply->data() + reply->size(), &document, nullptr) ||
      !document.isObject()) {
    return {};
  }
  return document;
}

/// Why a player does not do what it was told; nothing when it does.
std::optional<Problem> FailureOf(const Json::Value &reply) {
  if (reply.isNull()) {
    return Problem{503, "The player daemon does not answer.", {}};
  }
  if (reply.isMember("error")) {
    return Problem{502, "The player does not answer: " + reply["error"].asString(), {}};
  }
  if (reply.isMember("refused") && !reply.isMember("added")) {
    return Problem{409, "The player does not do that now: " + reply["refused"].asString(), {}};
  }
  return std::nullopt;
}

/// The id in the index that an entry of a queue tells; 0: none.
int32_t SongOf(const Json::Value &entry) {
  const std::string id = entry.get("item_id", "").asString();
  return static_cast<int32_t>(
      std::strtol(id.c_str() + std::min(id.find('@') + 1, id.size()), nullptr, 10));
}

/// An entry of a queue as a client sees it. What is no song that the user sees has no id, and only
/// a stream's address is told.
Json::Value EntryOf(const Json::Value &entry, const std::set<int32_t> &visible) {
  Json::Value shown(Json::objectValue);
  const int32_t song = SongOf(entry);
  if (visible.count(song) != 0) {
    shown["song"] = song;
  }
  const std::string address = entry.get("res", "").asString();
  if (address.starts_with("http://") || address.starts_with("https://")) {
    shown["stream"] = address;
  }
  for (const char *name :
       {"title", "artist", "album", "genre", "duration", "track", "disc", "year"}) {
    if (entry.isMember(name)) {
      shown[name] = entry[name];
    }
  }
  return shown;
}

Json::Value StatusOf(const Player &player, const Json::Value &reply, const Request &request) {
  Json::Value status(Json::objectValue);
  for (const char *name :
       {"state", "queue_length", "elapsed", "duration", "repeat", "random", "volume", "position"}) {
    if (reply.isMember(name)) {
      status[name] = reply[name];
    }
  }
  if (reply.isMember("song")) {
    status["song"] =
        EntryOf(reply["song"], catalog::VisibleSongs(request.User(), {SongOf(reply["song"])}));
  }
  status["id"] = player.number;
  status["name"] = player.name;
  return status;
}

Answer Told(const Player &player, const Json::Value &reply, const Request &request) {
  if (const std::optional<Problem> problem = FailureOf(reply)) {
    return ProblemAnswer(*problem);
  }
  return JsonAnswer(StatusOf(player, reply, request));
}

/// Tells the player of the path something that needs no further word.
Answer Tell(const Request &request, PlayerCommand command) {
  const std::optional<Player> player = FindPlayer(request);
  return player ? Told(*player, Parsed(PlayerQuestion(command, {player->number}).Answer()), request)
                : NoPlayer();
}

/// Tells the player of the path a number in [0, most] that the member `name` of the body is, times
/// `scale`.
Answer TellNumber(const Request &request, PlayerCommand command, std::string_view name, double most,
                  double scale) {
  const std::optional<Player> player = FindPlayer(request);
  if (!player) {
    return NoPlayer();
  }
  const std::array known = {name};
  const std::variant<Json::Value, Problem> body = ReadJsonBody(known);
  if (const Problem *problem = std::get_if<Problem>(&body)) {
    return ProblemAnswer(*problem);
  }
  const Json::Value &number = std::get<Json::Value>(body)[std::string(name)];
  if (!number.isNumeric() || !(number.asDouble() >= 0) || number.asDouble() > most) {
    return ProblemAnswer(
        {400, "The member is no number from 0 to " + std::to_string(std::lround(most)) + ".",
         std::string(name)});
  }
  const int64_t value = std::llround(number.asDouble() * scale);
  return Told(*player, Parsed(PlayerQuestion(command, {player->number, value}).Answer()), request);
}

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

std::set<int32_t> VisibleSongs(const Request &request, const Json::Value &entries) {
  std::vector<int32_t> ids;
  for (const Json::Value &entry : entries) {
    ids.push_back(SongOf(entry));
  }
  return catalog::VisibleSongs(request.User(), ids);
}

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

/// The songs that the body names, or why it names none.
SongPaths SongsOf(const Request &request, const Json::Value &body) {
  if (body.isMember("playlist") == body.isMember("songs")) {
    return Problem{400, "The body has to have one of songs and playlist.", "songs"};
  }
  SongPaths songs = body.isMember("playlist") ? SongsOfPlaylist(request, body["playlist"])
                                              : SongsOfIds(request, body["songs"]);
  const auto *const found = std::get_if<std::vector<std::string>>(&songs);
  if (found != nullptr && found->empty()) {
    return NotFound("There is nothing of it to play.");
  }
  return songs;
}

} // namespace

Answer ListPlayers(Request &request) {
  const std::vector<Player> players = catalog::ConfiguredPlayers();
  std::vector<PlayerQuestion> questions;
  for (const Player &player : players) {
    questions.emplace_back(PlayerCommand::kStatus, std::initializer_list<int64_t>{player.number});
  }
  Json::Value items(Json::arrayValue);
  for (std::size_t i = 0; i < players.size(); ++i) {
    const Json::Value reply = Parsed(questions[i].Answer());
    Json::Value status = StatusOf(players[i], reply, request);
    if (const std::optional<Problem> problem = FailureOf(reply)) {
      status["state"] = "unreachable";
      status["detail"] = problem->detail;
    }
    items.append(std::move(status));
  }
  const auto count = static_cast<int64_t>(players.size());
  return JsonAnswer(ListOf(count, {0, count}, std::move(items)));
}

Answer GetPlayer(Request &request) { return Tell(request, PlayerCommand::kStatus); }
Answer PausePlayer(Request &request) { return Tell(request, PlayerCommand::kPause); }
Answer StopPlayer(Request &request) { return Tell(request, PlayerCommand::kStop); }
Answer PlayNext(Request &request) { return Tell(request, PlayerCommand::kNext); }
Answer PlayPrevious(Request &request) { return Tell(request, PlayerCommand::kPrevious); }

Answer PlayPlayer(Request &request) {
  return web::BodyLength() == 0
             ? Tell(request, PlayerCommand::kResume)
             : TellNumber(request, PlayerCommand::kPlay, "position", catalog::kMostPlayed, 1);
}

Answer SeekPlayer(Request &request) {
  return TellNumber(request, PlayerCommand::kSeek, "seconds", kMostSeconds, 1000);
}

Answer SetPlayerVolume(Request &request) {
  return TellNumber(request, PlayerCommand::kVolume, "percent", 100, 1);
}

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
  Json::Value items(Json::arrayValue);
  const std::set<int32_t> visible = VisibleSongs(request, std::get<Json::Value>(entries));
  for (const Json::Value &entry : std::get<Json::Value>(entries)) {
    items.append(EntryOf(entry, visible));
  }
  return JsonAnswer(ListOf(total, page, std::move(items)));
}

Answer FillPlayerQueue(Request &request) {
  constexpr std::array<std::string_view, 3> kMembers = {"songs", "playlist", "mode"};
  const std::optional<Player> player = FindPlayer(request);
  if (!player) {
    return NoPlayer();
  }
  const std::variant<Json::Value, Problem> body = ReadJsonBody(kMembers);
  if (const Problem *problem = std::get_if<Problem>(&body)) {
    return ProblemAnswer(*problem);
  }
  const Json::Value &document = std::get<Json::Value>(body);
  const Json::Value mode = document.get("mode", "replace");
  if (mode != "replace" && mode != "append") {
    return ProblemAnswer({400, "The member is neither replace nor append.", "mode"});
  }
  const SongPaths songs = SongsOf(request, document);
  if (const Problem *problem = std::get_if<Problem>(&songs)) {
    return ProblemAnswer(*problem);
  }
  const PlayerCommand command =
      mode == "append" ? PlayerCommand::kAppendToQueue : PlayerCommand::kReplaceQueue;
  const Json::Value reply =
      Parsed(PlayerQuestion(command, {player->number}, &std::get<std::vector<std::string>>(songs))
                 .Answer());
  if (const std::optional<Problem> problem = FailureOf(reply)) {
    return ProblemAnswer(*problem);
  }
  return JsonAnswer(reply);
}

} // namespace vexo::api
