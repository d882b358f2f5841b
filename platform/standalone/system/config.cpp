#include "system/config.h"

#include "files/file_io.h"
#include "system/log.h"
#include "system/paths.h"
#include "text/code_page.h"
#include "text/numbers.h"
#include <algorithm>
#include <ini.h>
#include <system_error>

namespace vexo::system {
namespace {

struct Entry {
  std::string section, key, value;
};

using Entries = std::vector<Entry>;

int AddEntry(void *entries, const char *section, const char *key, const char *value) {
  static_cast<Entries *>(entries)->push_back({section, key, value});
  return 1;
}

/// inih's own limits would cut a line after 200 bytes without a word.
void AllowLongLines() {
  ini_use_stack = false;
  ini_allow_realloc = true;
  ini_max_line = 1 << 20;
  ini_allow_multiline = false;
  ini_stop_on_first_error = true;
}

std::string ReadConfigFile() {
  try {
    return files::ReadWholeFile(kConfigFile).value_or("");
  } catch (const std::system_error &error) {
    LogFailure("reading the configuration", error.what());
    return {};
  }
}

Entries ParseConfigFile() {
  AllowLongLines();
  Entries entries;
  const int bad_line = ini_parse_string(ReadConfigFile().c_str(), AddEntry, &entries);
  if (bad_line != 0) {
    const std::string where = std::string(kConfigFile) + ":" + std::to_string(bad_line);
    LogFailure(where.c_str(), "not understood; what follows in this file is ignored");
  }
  return entries;
}

const Entries &ConfigEntries() {
  static const Entries entries = ParseConfigFile();
  return entries;
}

} // namespace

std::optional<std::string> Setting(std::string_view section, std::string_view key) {
  const Entries &entries = ConfigEntries();
  const auto found = std::find_if(entries.rbegin(), entries.rend(), [&](const Entry &entry) {
    return entry.section == section && entry.key == key;
  });
  if (found == entries.rend()) {
    return std::nullopt;
  }
  return found->value;
}

std::vector<std::string> Sections(std::string_view prefix) {
  std::vector<std::string> names;
  for (const Entry &entry : ConfigEntries()) {
    if (std::string_view(entry.section).starts_with(prefix) &&
        std::find(names.begin(), names.end(), entry.section) == names.end()) {
      names.push_back(entry.section);
    }
  }
  return names;
}

int HostCodePage() {
  const std::optional<std::string> value = Setting("texts", "code_page");
  const std::optional<int64_t> number = value ? text::ParseInteger(*value) : std::nullopt;
  const bool fits = number && *number > 0 && *number <= text::kUtf8CodePage;
  const int code_page = fits ? static_cast<int>(*number) : text::kUtf8CodePage;
  return text::IsKnownCodePage(code_page) ? code_page : text::kUtf8CodePage;
}

} // namespace vexo::system
