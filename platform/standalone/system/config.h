#pragma once
// The configuration file, an INI file (kConfigFile). It is read once a process, when first asked.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::system {

/// The value of `key` in `[section]`, the last one when it stands there twice; nothing when the
/// file or the key is not there. A file that cannot be parsed is logged with its line, and what
/// stands before that line holds.
std::optional<std::string> Setting(std::string_view section, std::string_view key);

/// The names of the sections that begin with `prefix` and hold a key, in the order of the file.
std::vector<std::string> Sections(std::string_view prefix);

/// The code page of the host's texts, `code_page` in `[texts]`: UTF-8 (65001) unless it is a number
/// that text/code_page.h knows.
int HostCodePage();

} // namespace vexo::system
