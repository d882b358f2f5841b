#include "vexoaudiod/player_settings.h"
#include "system/config.h"
#include "system/player_commands.h"
#include "text/numbers.h"
#include <cstdint>
#include <optional>
#include <string_view>
#include <syslog.h>
#include <utility>

namespace vexo::audiod {

namespace {

std::string Text(const std::string &section, const char *key, const char *fallback = "") {
  return system::Setting(section, key).value_or(fallback);
}

std::optional<PlayerSettings> ReadSettings(const std::string &section) {
  const std::optional<int64_t> port = text::ParseInteger(Text(section, "port", "6600"));
  if (!port || *port < 1 || *port > 65535) {
    return std::nullopt;
  }
  PlayerSettings settings{Text(section, "host", "localhost"), static_cast<unsigned>(*port),
                          Text(section, "partition"), Text(section, "music_directory")};
  while (settings.music_directory.size() > 1 && settings.music_directory.ends_with('/')) {
    settings.music_directory.pop_back();
  }
  return settings;
}

} // namespace

std::map<int, PlayerSettings> ConfiguredPlayers() {
  std::map<int, PlayerSettings> players;
  for (const std::string &section : system::Sections(system::kPlayerSections)) {
    const std::optional<int> number = system::PlayerNumber(section);
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
