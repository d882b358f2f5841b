#include "playlistctl/log.h"

#include "files/file_io.h"
#include "system/admin_log.h"
#include "system/paths.h"
#include "text/text.h"
#include <array>
#include <ctime>
#include <iostream>
#include <optional>

namespace vexo::tools {
namespace {

/// "2026-11-21T03:15:00Z" in local time, "2026-11-21 04:15:00".
std::optional<std::string> LocalTime(const std::string &utc) {
  std::tm time{};
  const char *const end = strptime(utc.c_str(), "%Y-%m-%dT%H:%M:%SZ", &time);
  if (end == nullptr || *end != '\0') {
    return std::nullopt;
  }
  const std::time_t seconds = timegm(&time);
  std::array<char, 64> text{};
  localtime_r(&seconds, &time);
  std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &time);
  return text.data();
}

} // namespace

std::string_view LastLines(std::string_view log, std::size_t count) {
  if (count == 0 || log.empty()) {
    return log;
  }
  std::size_t begin = log.ends_with('\n') ? log.size() - 1 : log.size();
  for (; count > 0; --count) {
    const std::size_t line_end = begin == 0 ? std::string_view::npos : log.rfind('\n', begin - 1);
    if (line_end == std::string_view::npos) {
      return log;
    }
    begin = line_end;
  }
  return log.substr(begin + 1);
}

std::string ReadableLogLine(std::string_view line) {
  const std::vector<std::string> fields = text::Split(line, "\t");
  const std::optional<std::string> time =
      fields.size() < 2 ? std::nullopt : LocalTime(fields.front());
  if (!time) {
    return std::string(line);
  }
  std::string readable = *time + "  " + fields[1];
  for (std::size_t i = 2; i < fields.size(); ++i) {
    readable += (i == 2 ? "  " : ", ") + fields[i];
  }
  return readable;
}

void PrintLog(std::size_t count) {
  const std::string log = files::ReadWholeFile(system::kAdminLog).value_or("");
  for (const std::string &line : text::Split(LastLines(log, count), "\n")) {
    std::cout << ReadableLogLine(line) << "\n";
  }
}

} // namespace vexo::tools
