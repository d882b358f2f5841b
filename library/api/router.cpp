#include "api/router.h"
#include "web/login.h"
#include "web/same_site.h"
#include <algorithm>

namespace vexo::api {
namespace {

/// The first segment of `path`, which begins behind a '/'; `path` loses both.
std::string_view TakeSegment(std::string_view &path) {
  path.remove_prefix(1);
  const std::string_view segment = path.substr(0, path.find('/'));
  path.remove_prefix(segment.size());
  return segment;
}

/// What stands in `path` for the variable `name`; empty when nothing does. A playlist's node id is
/// a node of the tree alone, or three segments.
std::string TakeVariable(std::string_view name, std::string_view &path) {
  std::string value(TakeSegment(path));
  if (name != "{playlist}" || value == "musiclib_random") {
    return value;
  }
  for (int levels = 0; levels < 2; ++levels) {
    if (path.size() < 2) {
      return {};
    }
    value.append("/").append(TakeSegment(path));
  }
  return value;
}

std::string AllowedMethods(std::span<const Route> routes, std::string_view path) {
  std::string methods;
  for (const Route &route : routes) {
    std::vector<std::string> variables;
    if (MatchesPath(route.path, path, variables)) {
      methods.append(methods.empty() ? "" : ", ").append(route.method);
      methods.append(route.method == "GET" ? ", HEAD" : "");
    }
  }
  return methods;
}

Answer NoSuchRoute(std::span<const Route> routes, std::string_view method, std::string_view path) {
  const std::string allowed = AllowedMethods(routes, path);
  if (allowed.empty()) {
    return ProblemAnswer(NotFound("There is no such resource."));
  }
  return ProblemAnswer({405, "This resource has no method " + std::string(method) + ".", {}},
                       "Allow: " + allowed + "\r\n");
}

/// Why this process's request may not be answered, whatever it asks for; nothing when it may.
std::optional<Answer> Refusal(const Route &route, const std::optional<web::Login> &login) {
  if (route.method == "GET" ? web::IsCrossSiteRequest() : web::IsCrossOriginRequest()) {
    return ProblemAnswer({403, "A page of another site or origin sent this request.", {}});
  }
  if (!route.is_public && !login) {
    return ProblemAnswer({401, "Log in first: nobody with an account sent this request.", {}},
                         web::Challenge());
  }
  if (!route.is_public && !login->account) {
    return ProblemAnswer({403, "This user has no account.", {}});
  }
  return std::nullopt;
}

Answer Handle(const Route &route, std::vector<std::string> variables, std::string_view query) {
  std::optional<web::Login> login = web::LoginOfRequest();
  if (std::optional<Answer> refusal = Refusal(route, login)) {
    return *std::move(refusal);
  }
  Request request{route.method, std::move(variables), Query(query, route.parameters),
                  login ? std::move(login->account) : std::nullopt, login && login->by_session};
  if (request.query.problem()) {
    return ProblemAnswer(*request.query.problem());
  }
  return route.handle(request);
}

} // namespace

bool MatchesPath(std::string_view pattern, std::string_view path,
                 std::vector<std::string> &variables) {
  while (!pattern.empty() && !path.empty()) {
    const std::string_view wanted = TakeSegment(pattern);
    if (!wanted.starts_with('{')) {
      if (TakeSegment(path) != wanted) {
        return false;
      }
    } else if (variables.push_back(TakeVariable(wanted, path)); variables.back().empty()) {
      return false;
    }
  }
  return pattern.empty() && path.empty();
}

Answer Dispatch(std::span<const Route> routes, std::string_view method, std::string_view path,
                std::string_view query) {
  if (method == "HEAD") {
    method = "GET";
  }
  for (const Route &route : routes) {
    std::vector<std::string> variables;
    if (route.method == method && MatchesPath(route.path, path, variables)) {
      return Handle(route, std::move(variables), query);
    }
  }
  return NoSuchRoute(routes, method, path);
}

} // namespace vexo::api
