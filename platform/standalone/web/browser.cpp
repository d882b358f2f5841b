#include "web/browser.h"

#include <charconv>
#include <limits>

namespace vexo::web {
namespace {

// Current when the last Internet Explorer appeared; newer ones are type 0.
constexpr int kLastFirefoxOfTheseYears = 26;

/// The number with dots behind `mark`; empty when the mark is not there.
std::string_view VersionBehind(std::string_view agent, std::string_view mark) {
  const std::size_t found = agent.find(mark);
  if (found == std::string_view::npos) {
    return {};
  }
  const std::string_view rest = agent.substr(found + mark.size());
  return rest.substr(0, rest.find_first_not_of("0123456789."));
}

std::string_view InternetExplorerVersion(std::string_view agent) {
  const std::string_view version = VersionBehind(agent, "MSIE ");
  if (!version.empty() || agent.find("Trident/") == std::string_view::npos) {
    return version;
  }
  return VersionBehind(agent, "rv:"); // as its last version says it
}

/// The number before the first dot; INT_MAX for what is no number, or too large for one.
int MajorOf(std::string_view version) {
  int major = std::numeric_limits<int>::max();
  std::from_chars(version.data(), version.data() + version.size(), major);
  return major;
}

} // namespace

Browser BrowserFromUserAgent(std::string_view agent) {
  const std::string_view explorer = InternetExplorerVersion(agent);
  if (!explorer.empty()) {
    return {1, std::string(explorer)};
  }
  const std::string_view firefox = VersionBehind(agent, "Firefox/");
  if (!firefox.empty() && MajorOf(firefox) <= kLastFirefoxOfTheseYears) {
    return {2, std::string(firefox)};
  }
  return {};
}

} // namespace vexo::web
