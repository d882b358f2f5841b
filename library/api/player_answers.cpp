#include "api/player_answers.h"
#include <algorithm>
#include <cstdlib>
#include <memory>
#include <set>
#include <utility>

namespace vexo::api {
namespace {

/// The id in the index that an entry of a queue tells; 0: none.
int32_t SongOf(const Json::Value &entry) {
  const std::string id = entry.get("item_id", "").asString();
  return static_cast<int32_t>(
      std::strtol(id.c_str() + std::min(id.find('@') + 1, id.size()), nullptr, 10));
}

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

} // namespace

std::optional<catalog::Player> FindPlayer(const Request &request) {
  for (const catalog::Player &player : catalog::ConfiguredPlayers()) {
    if (request.variables[0] == std::to_string(player.number)) {
      return player;
    }
  }
  return std::nullopt;
}

Answer NoPlayer() { return ProblemAnswer(NotFound("There is no such player.")); }

Json::Value Parsed(const std::optional<std::string> &reply) {
  Json::Value document;
  const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
  if (!reply || !reader->parse(reply->data(), reply->data() + reply->size(), &document, nullptr) ||
      !document.isObject()) {
    return {};
  }
  return document;
}

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

Json::Value ShownEntries(const Json::Value &entries, const Request &request) {
  std::vector<int32_t> ids;
  for (const Json::Value &entry : entries) {
    ids.push_back(SongOf(entry));
  }
  const std::set<int32_t> visible = catalog::VisibleSongs(request.User(), ids);
  Json::Value shown(Json::arrayValue);
  for (const Json::Value &entry : entries) {
    shown.append(EntryOf(entry, visible));
  }
  return shown;
}

Json::Value StatusOf(const catalog::Player &player, const Json::Value &reply,
                     const Request &request) {
  Json::Value status(Json::objectValue);
  for (const char *name :
       {"state", "queue_length", "elapsed", "duration", "repeat", "random", "volume", "position"}) {
    if (reply.isMember(name)) {
      status[name] = reply[name];
    }
  }
  if (reply.isMember("song")) {
    Json::Value entries(Json::arrayValue);
    entries.append(reply["song"]);
    status["song"] = ShownEntries(entries, request)[0];
  }
  status["id"] = player.number;
  status["name"] = player.name;
  return status;
}

Answer Told(const catalog::Player &player, catalog::PlayerQuestion question,
            const Request &request) {
  const Json::Value reply = Parsed(question.Answer());
  const std::optional<Problem> problem = FailureOf(reply);
  return problem ? ProblemAnswer(*problem) : JsonAnswer(StatusOf(player, reply, request));
}

} // namespace vexo::api
