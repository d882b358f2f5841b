#pragma once
// A request as its handler sees it.

#include "accounts/accounts.h"
#include "api/answer.h"
#include "api/problem.h"
#include "api/query.h"
#include <json/json.h>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vexo::api {

struct Request {
  std::string_view method;            ///< GET (for HEAD too), POST, PUT or DELETE
  std::vector<std::string> variables; ///< what stands in the path for "{...}", in order
  Query query;
  std::optional<accounts::Account> user; ///< who asks; only a public route has none
  bool by_session = false;               ///< whether a session says so, not the web server

  /// Who asks. Not for public routes.
  [[nodiscard]] const accounts::Account &User() const { return *user; }
  /// A variable of the path as an id; nothing for what is none.
  [[nodiscard]] std::optional<int32_t> Id(std::size_t variable = 0) const;
};

inline constexpr std::size_t kLargestBody = std::size_t{64} << 20U;

/// The body of this process's request, or why there is none: too large, or cut short.
std::variant<std::string, Problem> ReadBody(std::size_t most_bytes = kLargestBody);

/// The body as a JSON object (RFC 8259, no comments), or why it is none. Members that `known` does
/// not name are refused.
std::variant<Json::Value, Problem> ReadJsonBody(std::span<const std::string_view> known,
                                                std::size_t most_bytes = kLargestBody);

/// A text as JSON (RFC 8259, no comments); nothing when it is none, or nested more than 100 deep.
std::optional<Json::Value> ParseJson(const std::string &text);

/// The owner code of the library that the parameter `library` names, the shared one without it. A
/// problem in the query for the personal library of a user without one.
int OwnerOf(const accounts::Account &user, Query &query);

} // namespace vexo::api
