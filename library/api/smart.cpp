// Smart playlists: their rules.
#include "api/if_match.h"
#include "api/playlist_json.h"
#include "api/resources.h"
#include "api/song_json.h"
#include "catalog/smart_edits.h"
#include "catalog/smart_lists.h"
#include "text/text.h"
#include "text/utf8.h"
#include <array>

namespace vexo::api {
namespace {

using catalog::Playlist;
using catalog::SmartEdit;
using smart::SmartPlaylist;

constexpr std::size_t kLargestRuleBody = std::size_t{1} << 20U; ///< JSON, with its escapes

/// The text that a member of a body is; a problem for any other value, and for none.
std::variant<std::string, Problem> TextMember(const Json::Value &body, const char *name) {
  const Json::Value &value = body[name];
  if (!value.isString()) {
    return Problem{400, "This member has to be there, as a text.", name};
  }
  std::string text = value.asString();
  if (!text::IsUtf8(text)) {
    return Problem{400, "The text is not UTF-8.", name};
  }
  return text;
}

std::variant<std::string, Problem> NameMember(const Json::Value &body) {
  std::variant<std::string, Problem> name = TextMember(body, "name");
  const auto *text = std::get_if<std::string>(&name);
  if (text != nullptr && !catalog::IsSmartName(*text)) {
    return Problem{400,
                   "A name has 1 to 250 bytes, no slash and no control character, and is not \".\" "
                   "or \"..\".",
                   "name"};
  }
  return name;
}

/// Whether the body says "personal"; "shared" is meant without it.
std::variant<bool, Problem> IsPersonal(const Json::Value &body) {
  const Json::Value &library = body["library"];
  if (!library.isNull() && library != "shared" && library != "personal") {
    return Problem{400, "The value is none of these: shared, personal.", "library"};
  }
  return library == "personal";
}

/// A rule that a client sends.
struct SentRule {
  std::string text;
  SmartPlaylist rule;
};

std::variant<SentRule, Problem> RuleMember(const Json::Value &body) {
  std::variant<std::string, Problem> text = TextMember(body, "rule");
  if (auto *problem = std::get_if<Problem>(&text)) {
    return std::move(*problem);
  }
  auto parsed = catalog::ParseRule(std::get<std::string>(text));
  if (const auto *error = std::get_if<catalog::RuleError>(&parsed)) {
    return RuleProblem(422, *error);
  }
  return SentRule{std::get<std::string>(std::move(text)),
                  std::get<SmartPlaylist>(std::move(parsed))};
}

Problem ProblemOf(SmartEdit outcome) {
  switch (outcome) {
  case SmartEdit::kNameTaken:
    return {409, "There is a smart playlist of this name.", "name"};
  case SmartEdit::kStale:
    return {412, "The rule has changed since it was read.", {}};
  case SmartEdit::kFull:
    return {409, "The file of rules has no room for this one.", "rule"};
  case SmartEdit::kDone:
  case SmartEdit::kNotThere:
    break;
  }
  return NoSuchPlaylist();
}

/// The smart playlist that the path names.
std::optional<Playlist> FindSmart(const Request &request) {
  std::optional<Playlist> playlist = catalog::FindPlaylist(request.User(), request.variables[0]);
  const bool is_smart = playlist && playlist->kind == catalog::PlaylistKind::kSmart;
  return is_smart ? std::move(playlist) : std::nullopt;
}

/// What stands in the file now.
Answer RuleAnswer(const accounts::Account &user, const std::string &node_id) {
  const std::optional<Playlist> playlist = catalog::FindPlaylist(user, node_id);
  const std::optional<std::string> block =
      playlist && playlist->kind == catalog::PlaylistKind::kSmart ? catalog::ReadBlock(*playlist)
                                                                  : std::nullopt;
  if (!block) {
    return ProblemAnswer(NoSuchPlaylist());
  }
  Json::Value document(Json::objectValue);
  document["playlist"] = PlaylistJson(*playlist);
  document["rule"] = std::string(catalog::RuleText(*block));
  return JsonAnswer(document, MakeETag(playlist->version));
}

Answer AddPlaylist(const accounts::Account &user, const Json::Value &body, const SentRule &rule) {
  const auto name = NameMember(body);
  const auto is_personal = IsPersonal(body);
  if (const auto *problem = std::get_if<Problem>(&name)) {
    return ProblemAnswer(*problem);
  }
  if (const auto *problem = std::get_if<Problem>(&is_personal)) {
    return ProblemAnswer(*problem);
  }
  const SmartEdit outcome =
      catalog::AddSmart(user, std::get<bool>(is_personal), std::get<std::string>(name), rule.text);
  if (outcome != SmartEdit::kDone) {
    return ProblemAnswer(ProblemOf(outcome));
  }
  const std::string id = catalog::SmartId(std::get<bool>(is_personal), std::get<std::string>(name));
  Answer answer = RuleAnswer(user, id);
  answer.status = 201;
  answer.headers += "Location: /api/smart/" + text::PercentEncode(id, "-._~/") + "\r\n";
  return answer;
}

int64_t LimitOf(const Json::Value &body, std::optional<Problem> &problem) {
  const Json::Value &limit = body["limit"];
  if (limit.isNull()) {
    return kUsualItems;
  }
  if (!limit.isInt64() || limit.asInt64() < 0 || limit.asInt64() > kMostItems) {
    problem = Problem{400, "The value is no whole number from 0 to 1000.", "limit"};
    return 0;
  }
  return limit.asInt64();
}

Answer PreviewOf(const accounts::Account &user, const Json::Value &body, const SentRule &rule) {
  const auto is_personal = IsPersonal(body);
  std::optional<Problem> problem;
  const Page page{0, LimitOf(body, problem)};
  if (const auto *wrong = std::get_if<Problem>(&is_personal)) {
    problem = *wrong;
  }
  if (problem) {
    return ProblemAnswer(*problem);
  }
  const catalog::RuleSongs found =
      catalog::SongsOfRule(user, std::get<bool>(is_personal), rule.rule, 0, page.limit);
  Json::Value document = ListOf(found.totals.songs, page, SongsJson(found.songs));
  document["duration"] = 0;
  AddSeconds(document, "duration", found.totals.duration_seconds);
  return JsonAnswer(document);
}

/// Reads a body with the members `known`, and the rule in it, for `answer`.
Answer WithRule(Request &request, std::span<const std::string_view> known,
                Answer (*answer)(const accounts::Account &, const Json::Value &,
                                 const SentRule &)) {
  const auto body = ReadJsonBody(known, kLargestRuleBody);
  if (const auto *problem = std::get_if<Problem>(&body)) {
    return ProblemAnswer(*problem);
  }
  const auto rule = RuleMember(std::get<Json::Value>(body));
  if (const auto *problem = std::get_if<Problem>(&rule)) {
    return ProblemAnswer(*problem);
  }
  return answer(request.User(), std::get<Json::Value>(body), std::get<SentRule>(rule));
}

} // namespace

Answer GetRule(Request &request) {
  const std::optional<Playlist> playlist =
      catalog::FindPlaylist(request.User(), request.variables[0]);
  std::optional<Answer> not_modified =
      playlist ? NotModified(MakeETag(playlist->version)) : std::nullopt;
  return not_modified ? *std::move(not_modified) : RuleAnswer(request.User(), request.variables[0]);
}

Answer PutRule(Request &request) {
  constexpr std::array<std::string_view, 2> kMembers = {"name", "rule"};
  const std::optional<Playlist> playlist = FindSmart(request);
  if (!playlist) {
    return ProblemAnswer(NoSuchPlaylist());
  }
  const auto body = ReadJsonBody(kMembers, kLargestRuleBody);
  if (const auto *problem = std::get_if<Problem>(&body)) {
    return ProblemAnswer(*problem);
  }
  const auto &document = std::get<Json::Value>(body);
  const auto name = document.isMember("name") ? NameMember(document) : playlist->name;
  if (const auto *problem = std::get_if<Problem>(&name)) {
    return ProblemAnswer(*problem);
  }
  const auto rule = RuleMember(document);
  if (const auto *problem = std::get_if<Problem>(&rule)) {
    return ProblemAnswer(*problem);
  }
  const auto &new_name = std::get<std::string>(name);
  const SmartEdit outcome =
      catalog::SetRule(*playlist, new_name, std::get<SentRule>(rule).text, MeetsIfMatch);
  return outcome == SmartEdit::kDone
             ? RuleAnswer(request.User(), catalog::SmartId(playlist->is_personal, new_name))
             : ProblemAnswer(ProblemOf(outcome));
}

Answer DeleteRule(Request &request) {
  const std::optional<Playlist> playlist = FindSmart(request);
  if (!playlist) {
    return ProblemAnswer(NoSuchPlaylist());
  }
  const SmartEdit outcome = catalog::RemoveSmart(*playlist, MeetsIfMatch);
  return outcome == SmartEdit::kDone ? NoContent() : ProblemAnswer(ProblemOf(outcome));
}

Answer PostRule(Request &request) {
  constexpr std::array<std::string_view, 3> kMembers = {"library", "name", "rule"};
  return WithRule(request, kMembers, AddPlaylist);
}

Answer PreviewRule(Request &request) {
  constexpr std::array<std::string_view, 3> kMembers = {"library", "limit", "rule"};
  return WithRule(request, kMembers, PreviewOf);
}

} // namespace vexo::api
