#pragma once
// What is wrong with a request, or with answering it (RFC 9457).

#include <cstddef>
#include <string>

namespace vexo::api {

struct Problem {
  int status = 400;
  std::string detail; ///< a sentence for people
  std::string
      parameter; ///< the parameter, path variable or member of the body that is meant; or empty
  /// Where in a text that the client sent, from 1, the column in characters; 0: nowhere.
  std::size_t line = 0, column = 0;
};

/// For what does not exist, or not for this user.
Problem NotFound(std::string detail);

} // namespace vexo::api
