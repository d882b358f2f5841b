#pragma once
#include "vexo/web.h"
#include <span>

/// Whether all parameters are there. Where not: false, after a log line and with the error in
/// `response`. Null entries of `names` are passed over.
[[nodiscard]] bool RequireParameters(const WebMan &request, std::span<const char *const> names,
                                     Json::Value &response);

/// Whether the parameter `overwrite` is "true".
[[nodiscard]] bool WantsOverwrite(const WebMan &request);
