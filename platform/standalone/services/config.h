#pragma once
// The configuration file, an INI file (kConfigFile). It is read once a process, when first asked.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::services {

/// The value of `key` in `[section]`; nothing when the file or the key is not there. A file that
/// cannot be parsed is logged with its line, and what stands before that line holds.
std::optional<std::string> Setting(std::string_view section, std::string_view key);

/// The names of the sections that begin with `prefix`, in the order of the file.
std::vector<std::string> Sections(std::string_view prefix);

} // namespace vexo::services
