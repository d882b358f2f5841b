#pragma once
#include <optional>
#include <string>
#include <string_view>

namespace vexo::media {

/// The field X-Sendfile with its line end, by which the web server sends the file at `path` (a
/// resolved one) in the program's place: its bytes percent-encoded, as lighttpd decodes them.
/// Nothing when the server's configuration does not say that it does so (the variable
/// VEXO_X_SENDFILE is "on"; without that a server would send nothing), and for names that lighttpd
/// does not take: with control characters, or not of UTF-8.
std::optional<std::string> XSendfileHeader(std::string_view path);

} // namespace vexo::media
