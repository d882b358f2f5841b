#pragma once
#include "files/file_identity.h"
#include "playlistctl/scan/output.h"
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::tools {

struct FoundFile {
  std::string path;
  uint64_t size_bytes = 0;
  int64_t time_modified = 0, time_changed = 0; ///< seconds since 1970
  files::FileIdentity identity{};
};

struct Walk {
  std::vector<FoundFile> files;        ///< by path
  std::vector<std::string> unreadable; ///< folders and files that nothing is known about
};

enum class Hidden { kPass, kTake };

/// Finds the regular files below `folder` whose name `wanted` accepts. Nothing stops it but a
/// `folder` that cannot be read itself (std::system_error); what is passed over is said, but for
/// names that begin with a dot where `hidden` passes them. Links are not followed: what they lead
/// to inside is found where it lies, and what lies outside is not the library's.
Walk WalkFolder(const std::string &folder, const std::function<bool(std::string_view)> &wanted,
                Hidden hidden, Output &output);

/// The regular file at `path`; nothing when there is none.
std::optional<FoundFile> FindFile(const std::string &path);

/// Whether a file name is that of a song, by its extension in any letter case.
bool IsSongName(std::string_view name);
/// Whether a file name is that of a playlist: .m3u or .m3u8, in any letter case.
bool IsPlaylistName(std::string_view name);

/// The extension of a file name in lower case, without its dot; empty when it has none.
std::string Extension(std::string_view name);
/// The file name of a path, without the folders before it.
std::string_view FileName(std::string_view path);
/// The file name of a path without its extension.
std::string_view Stem(std::string_view path);

} // namespace vexo::tools
