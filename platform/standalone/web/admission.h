#pragma once
// Which requests are served. Before the parameters are read, method and user decide; once they are,
// what the request would do.

#include "web/login.h"
#include "web/refusal.h"
#include "web/request.h"
#include <optional>

namespace vexo::web {

/// Why a request may not go on, whatever it asks for; nothing when it may. A request without a user
/// is one to ask who it is; then comes the method, then the site, then whether the user has an
/// account.
std::optional<Refusal> RefusalOfRequest(const std::optional<Login> &login);

/// Whether the action changes something: all do, but for those that are known to read only.
bool ChangesSomething(std::string_view action);

/// The most songs, positions or playlists that one list of a request may name.
inline constexpr std::size_t kMostEntries = 100'000;

/// Why a request of that user's may not do what its parameters ask for; nothing when it may.
/// Everything is refused with a list of more than kMostEntries. What changes something is refused
/// for HEAD; when a page of another origin sent it; in a session, whose cookie a browser sends with
/// any link, unless it comes by POST; and "delete" where it would take the name
/// of a playlist apart at a comma, and delete another one.
std::optional<Refusal> RefusalOfAction(const Parameters &parameters, const Login &login);

} // namespace vexo::web
