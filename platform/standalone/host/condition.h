#pragma once
// If-Match: an action changes a playlist only as long as it has a version that the client has seen.

#include "web/login.h"
#include "web/refusal.h"
#include "web/request.h"
#include <optional>

namespace vexo::host {

/// Takes the request's If-Match for the condition of all that this process edits. What the program
/// itself renames or removes is looked at here, and held until the process ends. Gives why the
/// request may not go on; nothing when it may. Throws when a playlist cannot be looked at.
std::optional<web::Refusal> TakeCondition(const web::Parameters &parameters,
                                          const web::Login &login);

} // namespace vexo::host
