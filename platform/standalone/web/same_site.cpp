#include "web/same_site.h"

#include "web/header_value.h"
#include "web/request.h"

namespace vexo::web {
namespace {

struct HostAndPort {
  std::string_view host, port;
};

HostAndPort SplitPort(std::string_view text, std::string_view default_port) {
  const std::size_t bracket = text.rfind(']'); // an IPv6 address has colons of its own
  const std::size_t colon = text.rfind(':');
  if (colon == std::string_view::npos || (bracket != std::string_view::npos && colon < bracket)) {
    return {text, default_port};
  }
  const std::string_view port = text.substr(colon + 1);
  return {text.substr(0, colon), port.empty() ? default_port : port};
}

/// Takes the scheme off `origin` and gives its default port; empty for a scheme that is not known.
std::string_view TakeScheme(std::string_view &origin) {
  constexpr std::string_view kHttp = "http://", kHttps = "https://";
  if (EqualsIgnoringCase(origin.substr(0, kHttp.size()), kHttp)) {
    origin.remove_prefix(kHttp.size());
    return "80";
  }
  if (EqualsIgnoringCase(origin.substr(0, kHttps.size()), kHttps)) {
    origin.remove_prefix(kHttps.size());
    return "443";
  }
  return {};
}

} // namespace

bool IsOriginOfHost(std::string_view origin, std::string_view host) {
  const std::string_view default_port = TakeScheme(origin);
  if (default_port.empty() || origin.empty()) {
    return false;
  }
  const HostAndPort left = SplitPort(origin, default_port);
  const HostAndPort right = SplitPort(host, default_port);
  return EqualsIgnoringCase(left.host, right.host) && left.port == right.port;
}

namespace {

bool IsThisHost(std::string_view origin) {
  return IsOriginOfHost(origin, Variable("HTTP_HOST").value_or(""));
}

} // namespace

std::string_view OriginOfUrl(std::string_view url) {
  const std::size_t scheme_end = url.find("://");
  return scheme_end == std::string_view::npos
             ? std::string_view()
             : url.substr(0, url.find_first_of("/?#", scheme_end + 3));
}

bool IsCrossSiteRequest() {
  const std::optional<std::string_view> origin = Variable("HTTP_ORIGIN");
  return EqualsIgnoringCase(Variable("HTTP_SEC_FETCH_SITE").value_or(""), "cross-site") ||
         (origin && !IsThisHost(*origin));
}

bool IsCrossOriginRequest() {
  const std::optional<std::string_view> site = Variable("HTTP_SEC_FETCH_SITE");
  const std::optional<std::string_view> referer = Variable("HTTP_REFERER");
  const bool from_elsewhere =
      site && !EqualsIgnoringCase(*site, "same-origin") && !EqualsIgnoringCase(*site, "none");
  return from_elsewhere || IsCrossSiteRequest() || (referer && !IsThisHost(OriginOfUrl(*referer)));
}

} // namespace vexo::web
