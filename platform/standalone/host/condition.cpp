#include "host/condition.h"

#include "playlists/condition.h"
#include "playlists/held_versions.h"
#include "system/log.h"
#include "system/paths.h"
#include "text/text.h"
#include "web/entity_tags.h"
#include <algorithm>
#include <climits>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::host {
namespace {

using accounts::Account;

/// What stands behind the last '/' of a node id, as the program takes it.
std::string_view TailOf(std::string_view id) {
  const std::size_t slash = id.rfind('/');
  return slash == std::string_view::npos || slash + 1 == id.size() ? id : id.substr(slash + 1);
}

/// The number that the tail begins with.
int32_t RowOf(std::string_view id) {
  const std::string tail(TailOf(id));
  return static_cast<int32_t>(std::clamp<long>(std::strtol(tail.c_str(), nullptr, 10), 0, INT_MAX));
}

std::string Hold(const Account &account, std::string_view id, bool is_personal) {
  if (is_personal && !account.personal_library) {
    return playlists::HoldFile(account.preference_folder + system::kPlaylistsFolder + "/" +
                               std::string(TailOf(id)) + ".m3u");
  }
  return playlists::HoldRowsFile(is_personal ? account.id : 0, RowOf(id));
}

void HoldRenamed(const web::Parameters &parameters, const Account &account) {
  if (const char *const id = parameters.Find("id")) {
    const bool is_personal = std::string_view(id).starts_with("musiclib_music_personal");
    playlists::NoteVersion(Hold(account, id, is_personal));
  }
}

/// Holds them in one order, whatever theirs is, so that two requests wait for each other in turn.
void HoldRemoved(const web::Parameters &parameters, const Account &account) {
  const char *const list = parameters.Find("playlists");
  if (list == nullptr) {
    return;
  }
  const bool is_personal = !std::string_view(list).starts_with("musiclib_music_shared");
  std::vector<std::string> ids = text::Split(list, ",");
  std::sort(ids.begin(), ids.end());
  ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
  for (const std::string &id : ids) {
    Hold(account, id, is_personal);
  }
}

/// What an entity tag tells behind the version is not of the playlist's content.
constexpr char kVersionEnd = '-';

playlists::Condition ConditionOf(std::string_view if_match) {
  web::EntityTags tags = web::ParseEntityTags(if_match).value_or(web::EntityTags());
  for (std::string &tag : tags.strong) {
    tag.resize(std::min(tag.find(kVersionEnd), tag.size()));
  }
  return {tags.any, std::move(tags.strong)};
}

} // namespace

std::optional<web::Refusal> TakeCondition(const web::Parameters &parameters,
                                          const web::Login &login) {
  const std::optional<std::string_view> if_match = web::Variable("HTTP_IF_MATCH");
  if (!if_match || !login.account) {
    return std::nullopt;
  }
  const std::string_view action = parameters.Find("action");
  if (action == "delete" && parameters.Find("playlists") != nullptr &&
      parameters.Find("smartPlaylists") != nullptr) {
    return web::Refusal::kTwoKinds;
  }
  playlists::SetCondition(ConditionOf(*if_match));
  try {
    if (action == "saveplsname") {
      HoldRenamed(parameters, *login.account);
    } else if (action == "delete") {
      HoldRemoved(parameters, *login.account);
    }
  } catch (const playlists::VersionError &error) {
    system::LogFailure("If-Match", error.what());
    return web::Refusal::kVersion;
  }
  return std::nullopt;
}

} // namespace vexo::host
