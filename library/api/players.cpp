// The players of the house: what they play, and telling them what to do.
#include "api/player_answers.h"
#include "api/resources.h"
#include "web/request.h"
#include <array>
#include <cmath>

namespace vexo::api {
namespace {

using catalog::Player;
using catalog::PlayerQuestion;
using system::PlayerCommand;

constexpr double kMostSeconds = 1'000'000;

/// Tells the player of the path something that needs no further word.
Answer Tell(const Request &request, PlayerCommand command) {
  const std::optional<Player> player = FindPlayer(request);
  return player ? Told(*player, {command, {player->number}}, request) : NoPlayer();
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
  return Told(*player, {command, {player->number, value}}, request);
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

Answer SetPlayerMode(Request &request) {
  constexpr std::array<std::string_view, 2> kMembers = {"repeat", "random"};
  constexpr std::array kCommands = {PlayerCommand::kRepeat, PlayerCommand::kRandom};
  const std::optional<Player> player = FindPlayer(request);
  if (!player) {
    return NoPlayer();
  }
  const std::variant<Json::Value, Problem> body = ReadJsonBody(kMembers);
  if (const Problem *problem = std::get_if<Problem>(&body)) {
    return ProblemAnswer(*problem);
  }
  const Json::Value &modes = std::get<Json::Value>(body);
  for (const std::string &name : modes.getMemberNames()) {
    if (!modes[name].isBool()) {
      return ProblemAnswer({400, "The member is neither true nor false.", name});
    }
  }
  Answer answer = ProblemAnswer({400, "The body has neither repeat nor random.", "repeat"});
  for (std::size_t i = 0; i < kMembers.size(); ++i) {
    const std::string name(kMembers[i]);
    if (modes.isMember(name)) {
      answer =
          Told(*player, {kCommands[i], {player->number, modes[name].asBool() ? 1 : 0}}, request);
      if (answer.status != 200) {
        return answer;
      }
    }
  }
  return answer;
}

Answer SetPlayerVolume(Request &request) {
  return TellNumber(request, PlayerCommand::kVolume, "percent", 100, 1);
}

} // namespace vexo::api
