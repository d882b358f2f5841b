#pragma once

#include <string_view>

namespace vexo::web {

/// Whether `origin` (RFC 6454, as a browser sends it) is the host that `host` (a request's Host)
/// names. A port that is not written is the default one of the origin's scheme. "null" and origins
/// of other schemes than http and https are no host.
bool IsOriginOfHost(std::string_view origin, std::string_view host);

/// Whether a browser says that this request comes from a page of another site.
bool IsCrossSiteRequest();

} // namespace vexo::web
