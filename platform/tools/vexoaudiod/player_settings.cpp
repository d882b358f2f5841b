#include "vexoaudiod/player_settings.h"
#include "services/config.h"
#include <charconv>
#include <optional>
#include <string_view>
#include <syslog.h>

namespace vexo::audiod {

namespace {

constexpr std::string_view kSectionPrefix = "player ";

template <typename Number> std::optional<Number> ParseNumber(std::string_view text) {
  Number number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool is_whole = error == std::errc() && end == text.data() + text.size();
  return is_whole ? std::optional(number) : std::nullopt;
}

std::optional<int> PlayerNumber(std::string_view name) {
  if (name == "usb") {
    return kUsbPlayer;
  }
  const std::optional<int> number = ParseNumber<int>(name);
  return number.value_or(-1) >= 0 ? number : std::nullopt;
}

std::string Text(const std::string &section, const char *key, const char *fallback = "") {
  return services::Setting(section, key).value_or(fallback);
}

std::optional<PlayerSettings> ReadSettings(const std::string &section) {
  const std::optional<unsigned> port = ParseNumber<unsigned>(Text(section, "port", "6600"));
  PlayerSettings settings{Text(section, "host", "localhost"), port.value_or(0),
                          Text(section, "partition"), Text(section, "music_directory")};
  while (settings.music_directory.size() > 1 && settings.music_directory.ends_with('/')) {
    settings.music_directory.pop_back();
  }
  const bool is_port = port.has_value() && *port > 0 && *port < 65536;
  return is_port ? std::optional(settings) : std::nullopt;
}

} // namespace

std::map<int, PlayerSettings> ConfiguredPlayers() {
  std::map<int, PlayerSettings> players;
  for (const std::string &section : services::Sections(kSectionPrefix)) {
    const std::optional<int> number = PlayerNumber(section.substr(kSectionPrefix.size()));
    const std::optional<PlayerSettings> settings = ReadSettings(section);
    if (number.has_value() && settings.has_value()) {
      players.insert_or_assign(*number, *settings);
    } else {
      syslog(LOG_ERR, "[%s] is no player: its name has to be a number or \"usb\", and its port one",
             section.c_str());
    }
  }
  return players;
}

} // namespace vexo::audiod
