#pragma once
#include <string>
#include <string_view>

namespace vexo::web {

/// Type 1: Internet Explorer. Type 2: Firefox of the same years. Type 0: every other, which takes
/// Content-Disposition as RFC 6266 has it; its version stays empty.
struct Browser {
  int type = 0;
  std::string version; ///< digits and dots
};

/// The browser that a User-Agent field (RFC 9110, 10.1.5) tells of.
Browser BrowserFromUserAgent(std::string_view agent);

} // namespace vexo::web
