#include "system/player_commands.h"

#include "text/numbers.h"
#include <utility>

namespace vexo::system {

std::optional<int> PlayerNumber(std::string_view section) {
  section.remove_prefix(kPlayerSections.size());
  if (section == "usb") {
    return kUsbPlayer;
  }
  const std::optional<int64_t> number = text::ParseInteger(section);
  return number && *number >= 0 && std::in_range<int>(*number)
             ? std::optional(static_cast<int>(*number))
             : std::nullopt;
}

} // namespace vexo::system
