#include "web/admission.h"

#include "system/log.h"
#include "system/paths.h"
#include "web/same_site.h"
#include <algorithm>
#include <climits>
#include <string>
#include <unistd.h>

namespace vexo::web {
namespace {

/// Says in the log what the browser told, for an owner whose proxy changes one of these.
Refusal RefuseOrigin() {
  std::string told = "a request of another site or origin:";
  for (const char *name : {"HTTP_HOST", "HTTP_SEC_FETCH_SITE", "HTTP_ORIGIN", "HTTP_REFERER"}) {
    if (const std::optional<std::string_view> value = Variable(name)) {
      told.append(" ").append(name).append("=").append(*value);
    }
  }
  system::LogFailure("refused", told.c_str());
  return Refusal::kCrossSite;
}

std::size_t CountPieces(std::string_view text) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), ',')) + 1;
}

bool HasTooManyEntries(const Parameters &parameters) {
  const struct {
    const char *name;
    std::size_t (*count)(std::string_view text);
  } lists[] = {{"id_info_list", CountElements},
               {"seq_list", CountPieces},
               {"playlists", CountPieces},
               {"smartPlaylists", CountPieces}};
  return std::any_of(std::begin(lists), std::end(lists), [&](const auto &list) {
    const char *const text = parameters.Find(list.name);
    return text != nullptr && list.count(text) > kMostEntries;
  });
}

/// Whether a playlist file in `folder` has a name that begins where `text` begins, and goes on
/// behind its first comma. What has a '/' is the next id.
bool BeginsWithNameWithComma(std::string_view text, const std::string &folder) {
  constexpr std::size_t kLongestName = NAME_MAX - std::string_view(".m3u").size();
  text = text.substr(0, kLongestName + 1);
  std::size_t end = text.find(',');
  while (end < text.size()) {
    end = std::min(text.find(',', end + 1), text.size());
    const std::string_view name = text.substr(0, end);
    if (name.size() > kLongestName || name.find('/') != std::string_view::npos) {
      return false;
    }
    if (access((folder + "/" + std::string(name) + ".m3u").c_str(), F_OK) == 0) {
      return true;
    }
  }
  return false;
}

/// Playlists of a user without a personal library are deleted by their names, in a list with commas
/// between: a name that has a comma itself would come apart there.
bool SplitsAName(const Parameters &parameters, const accounts::Account &account) {
  const char *const list = parameters.Find("playlists");
  if (list == nullptr || account.personal_library ||
      std::string_view(list).starts_with("musiclib_music_shared")) {
    return false;
  }
  const std::string folder = account.preference_folder + system::kPlaylistsFolder;
  std::string_view rest(list);
  for (std::size_t slash = 0; (slash = rest.find('/')) != std::string_view::npos;) {
    rest.remove_prefix(slash + 1);
    if (BeginsWithNameWithComma(rest, folder)) {
      return true;
    }
  }
  return false;
}

} // namespace

std::optional<Refusal> RefusalOfRequest(const std::optional<Login> &login) {
  if (!login) {
    return Refusal::kNoUser;
  }
  const std::string_view method = Variable("REQUEST_METHOD").value_or("GET");
  if (method != "GET" && method != "HEAD" && method != "POST") {
    return Refusal::kMethod;
  }
  if (IsCrossSiteRequest()) {
    return RefuseOrigin();
  }
  return login->account ? std::nullopt : std::optional(Refusal::kNoAccount);
}

bool ChangesSomething(std::string_view action) {
  return action != "checkempty" && action != "download";
}

std::optional<Refusal> RefusalOfAction(const Parameters &parameters, const Login &login) {
  if (HasTooManyEntries(parameters)) {
    system::LogFailure("refused", "a list with more than 100,000 entries");
    return Refusal::kTooManyEntries;
  }
  const char *const action = parameters.Find("action");
  if (action == nullptr || !ChangesSomething(action)) {
    return std::nullopt;
  }
  if (login.by_session && Variable("REQUEST_METHOD") != "POST") {
    return Refusal::kLinkOfChange;
  }
  if (IsHead()) {
    return Refusal::kHeadOfChange;
  }
  if (IsCrossOriginRequest()) {
    return RefuseOrigin();
  }
  if (login.account && std::string_view(action) == "delete" &&
      SplitsAName(parameters, *login.account)) {
    system::LogFailure("refused", "to delete a playlist with a comma in its name");
    return Refusal::kNameWithComma;
  }
  return std::nullopt;
}

} // namespace vexo::web
