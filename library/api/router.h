#pragma once
// Which handler answers which request: one table.

#include "api/answer.h"
#include "api/request.h"
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::api {

struct Route {
  std::string_view method; ///< GET is HEAD too
  /// Below /api. "{...}" stands for any one segment, and "{playlist}" for a playlist's node id,
  /// which has one segment or three.
  std::string_view path;
  Answer (*handle)(Request &request);
  std::string_view parameters{}; ///< those of the query that it knows, with blanks between
  bool is_public = false;        ///< whether it may be asked without a user
};

/// Every route.
std::span<const Route> Routes();

/// Whether `path` is of the form `pattern`; what stands for "{...}" is appended to `variables`.
bool MatchesPath(std::string_view pattern, std::string_view path,
                 std::vector<std::string> &variables);

/// The answer of the first of `routes` whose method and path fit; problems for a path that is none
/// (404), another method (405), a query that is not understood (400), no user (401) or a user
/// without an account (403).
Answer Dispatch(std::span<const Route> routes, std::string_view method, std::string_view path,
                std::string_view query);

} // namespace vexo::api
