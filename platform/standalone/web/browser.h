#pragma once
#include "vexo/web.h"
#include <string_view>

namespace vexo::web {

/// Fills `info` with the browser that a User-Agent field (RFC 9110, 10.1.5) tells of. Type 1:
/// Internet Explorer, with its version. Type 2: Firefox of the same years, with its version. Type
/// 0: every other, which takes Content-Disposition as RFC 6266 has it; so does one that tells
/// nothing.
void BrowserFromUserAgent(std::string_view agent, _tag_vexo_browser_info_ *info);

} // namespace vexo::web
