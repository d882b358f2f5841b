#pragma once
// The parameters of a request's query, as its resource understands them. The first one that is not
// understood is remembered; a handler reads all that it wants, and then asks once for the problem.

#include "api/problem.h"
#include "web/parameters.h"
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string_view>
#include <vector>

namespace vexo::api {

class Query {
public:
  /// Decodes `text`. Only the parameters `known`, names with blanks between, may be there, each
  /// once and without NUL bytes.
  Query(std::string_view text, std::string_view known);

  /// Nothing when it is not there. The text lives as long as this object.
  [[nodiscard]] std::optional<std::string_view> Text(std::string_view name) const;
  /// A whole number in [least, most]; `fallback` when it is not there or wrong.
  int64_t Number(std::string_view name, int64_t fallback, int64_t least, int64_t most);
  /// One of `choices`, the first one when it is not there or wrong.
  std::string_view Choice(std::string_view name, std::initializer_list<std::string_view> choices);
  /// "true" or "false".
  bool Flag(std::string_view name) { return Choice(name, {"false", "true"}) == "true"; }

  /// Remembers what is wrong with a parameter, unless another one was wrong before.
  void Refuse(std::string_view name, std::string detail);
  /// The first thing that was wrong; nothing when all was well.
  [[nodiscard]] const std::optional<Problem> &problem() const { return problem_; }

private:
  void Check(std::string_view known);

  web::Buffer text_;
  std::vector<web::Parameter> parameters_;
  std::optional<Problem> problem_;
};

/// A stretch of a list.
struct Page {
  int64_t offset = 0, limit = 0;
};

inline constexpr int64_t kMostItems = 1000; ///< on a page
inline constexpr int64_t kUsualItems = 100;

/// The parameters `offset` and `limit`.
Page ReadPage(Query &query);

} // namespace vexo::api
