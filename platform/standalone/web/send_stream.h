#pragma once
#include <functional>
#include <string>
#include <string_view>

namespace vexo::web {

/// As many bytes of a stream are read before its answer begins: one that ends before is known to be
/// whole, or not. (And lighttpd 1.4.69 does not pass on chunks that come together with the
/// headers.)
inline constexpr std::size_t kStreamAheadBytes = std::size_t{64} << 10U;

/// Sends a body of unknown length: the bytes `begin`, and what comes through `pipe` until its end.
/// Before it stand the fields `headers` and `rest`, which ends with the empty line. Where the
/// client speaks HTTP/1.1 it notices when the body breaks off: because it went away itself, or
/// because `ended_well`, asked at the end of the pipe, says so. Whether all was sent and ended
/// well.
[[nodiscard]] bool SendLongStream(const std::string &headers, const std::string &rest,
                                  std::string_view begin, int pipe,
                                  const std::function<bool()> &ended_well);

} // namespace vexo::web
