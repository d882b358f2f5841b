#include "web/browser.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace vexo::web {
namespace {

// The year of the last Internet Explorer ended with this Firefox.
constexpr int kLastFirefoxOfTheseYears = 26;

/// The number with dots behind `mark`, as long as the field of a browser record holds it; empty
/// when the mark is not there.
std::string_view VersionBehind(std::string_view agent, std::string_view mark) {
  const std::size_t found = agent.find(mark);
  if (found == std::string_view::npos) {
    return {};
  }
  const std::string_view rest = agent.substr(found + mark.size());
  return rest.substr(0, std::min({rest.find_first_not_of("0123456789."), rest.size(),
                                  sizeof(_tag_vexo_browser_info_::version) - 1}));
}

std::string_view InternetExplorerVersion(std::string_view agent) {
  const std::string_view version = VersionBehind(agent, "MSIE ");
  if (!version.empty() || agent.find("Trident/") == std::string_view::npos) {
    return version;
  }
  return VersionBehind(agent, "rv:"); // as its last version says it
}

/// The number before the first dot; one beyond all of them when it is none that can be told.
int MajorOf(std::string_view version) {
  int major = std::numeric_limits<int>::max();
  std::from_chars(version.data(), version.data() + version.size(), major);
  return major;
}

void Fill(_tag_vexo_browser_info_ *info, int type, std::string_view version) {
  *info = {};
  info->type = type;
  version.copy(info->version, sizeof(info->version) - 1);
}

} // namespace

void BrowserFromUserAgent(std::string_view agent, _tag_vexo_browser_info_ *info) {
  const std::string_view explorer = InternetExplorerVersion(agent);
  const std::string_view firefox = VersionBehind(agent, "Firefox/");
  if (!explorer.empty()) {
    Fill(info, 1, explorer);
  } else if (!firefox.empty() && MajorOf(firefox) <= kLastFirefoxOfTheseYears) {
    Fill(info, 2, firefox);
  } else {
    Fill(info, 0, {});
  }
}

} // namespace vexo::web
