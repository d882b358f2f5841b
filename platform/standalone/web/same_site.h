#pragma once

#include <string_view>

namespace vexo::web {

/// Whether `origin` (RFC 6454, as a browser sends it) is the host that `host` (a request's Host)
/// names. A port that is not written is the default one of the origin's scheme. "null" and origins
/// of other schemes than http and https are no host.
bool IsOriginOfHost(std::string_view origin, std::string_view host);

/// The origin of a URL such as a Referer: its scheme, host and port. Empty for a text that is none.
std::string_view OriginOfUrl(std::string_view url);

// What a browser says about where this request comes from. Clients that are no browsers send none
// of these headers and are believed; so is a browser that leaves all of them out, as old ones do.
// A header that is there and not understood, be it empty, is taken for that of somebody else. The
// host is the one that Host names with its port, so a proxy has to hand Host on as it came;
// X-Forwarded-* is not read. A proxy may have taken off TLS: http and https count as the same.

/// Whether a page of another site sent it (Sec-Fetch-Site: cross-site, or a foreign Origin).
bool IsCrossSiteRequest();

/// Whether a page of any other origin sent or linked it: also one of the same site (Sec-Fetch-Site
/// other than same-origin and none), and one that only a Referer tells of.
bool IsCrossOriginRequest();

} // namespace vexo::web
