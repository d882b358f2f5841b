#include "web/admission.h"

#include "system/log.h"
#include "web/same_site.h"
#include <algorithm>
#include <string>

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

} // namespace

std::optional<Refusal> RefusalOfRequest() {
  if (Variable("REMOTE_USER").value_or("").empty()) {
    return Refusal::kNoUser;
  }
  const std::string_view method = Variable("REQUEST_METHOD").value_or("GET");
  if (method != "GET" && method != "HEAD" && method != "POST") {
    return Refusal::kMethod;
  }
  if (IsCrossSiteRequest()) {
    return RefuseOrigin();
  }
  return std::nullopt;
}

bool ChangesSomething(std::string_view action) {
  return action != "checkempty" && action != "download";
}

std::optional<Refusal> RefusalOfAction(const Parameters &parameters) {
  if (HasTooManyEntries(parameters)) {
    system::LogFailure("refused", "a list with more than 100,000 entries");
    return Refusal::kTooManyEntries;
  }
  const char *const action = parameters.Find("action");
  if (action == nullptr || !ChangesSomething(action)) {
    return std::nullopt;
  }
  if (IsHead()) {
    return Refusal::kHeadOfChange;
  }
  if (IsCrossOriginRequest()) {
    return RefuseOrigin();
  }
  return std::nullopt;
}

} // namespace vexo::web
