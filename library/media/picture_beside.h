#pragma once
#include <optional>
#include <string>

namespace vexo::media {

/// The name of the picture in a folder that stands for all songs there: cover, folder or front, in
/// this order, with .jpg, .jpeg, .png or .webp, in any letter case. Nothing when there is none.
std::optional<std::string> PictureBeside(const std::string &folder);

} // namespace vexo::media
