#pragma once
// A request as the web server hands it to a CGI program (RFC 3875): environment variables and the
// standard input.

#include "web/parameters.h"
#include <optional>
#include <string_view>

namespace vexo::web {

/// A variable of the request; nothing when the web server set none.
std::optional<std::string_view> Variable(const char *name);

/// Whether the client wants the headers of an answer alone (RFC 3875, 4.3.2).
bool IsHead();

/// The length of the body that the client announced, 0 without one; nothing when it is no number,
/// or larger than any body that is read (64 MiB). Chunked requests are refused: CGI has no way to
/// read them.
std::optional<std::size_t> BodyLength();

/// Fills `buffer` from the standard input. False when the body ends before.
bool ReadInput(const Buffer &buffer);

/// The parameters of a request, and the bytes that hold them.
class Parameters {
public:
  /// Reads query string and body. False, and no parameters, for a request that cannot be read whole
  /// or that is harmful.
  bool Load();
  /// From now on there are none.
  void Clear() { parameters_.clear(); }
  /// The first value of `name`, those of the body before those of the query; null: none was sent.
  [[nodiscard]] const char *Find(std::string_view name) const;

private:
  bool LoadBody();
  bool LoadQuery();

  Buffer body_, query_;
  std::vector<Parameter> parameters_;
};

} // namespace vexo::web
