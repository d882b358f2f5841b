#include "scan/playlist_rows.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <set>
#include <system_error>
#include <thread>

namespace vexo::tools {
namespace {

std::string TimeText(int64_t seconds) {
  const auto time = static_cast<std::time_t>(seconds);
  std::array<char, 64> text{};
  return ctime_r(&time, text.data()) == nullptr ? "" : text.data();
}

std::vector<FoundFile> WithoutRow(index::MediaIndex &index, const Library &library,
                                  const std::vector<FoundFile> &files) {
  std::set<std::string> known;
  for (const index::Playlist &playlist : index.AllPlaylists(library.owner)) {
    known.insert(playlist.path);
  }
  std::vector<FoundFile> missing;
  std::copy_if(files.begin(), files.end(), std::back_inserter(missing),
               [&](const FoundFile &file) { return !known.contains(file.path); });
  return missing;
}

/// What was told of a folder is not told twice.
class NoOutput : public Output {
public:
  void Line(const std::string & /*text*/) override {}
  void Progress(std::string_view /*what*/, std::size_t /*done*/, std::size_t /*all*/) override {}
};

/// Those of `files` that are there now, and have no row now: one may have been renamed or removed,
/// file and row, while the first look was taken.
std::vector<FoundFile> StillWithoutRow(index::MediaIndex &index, const Library &library,
                                       const std::vector<FoundFile> &files) {
  std::set<std::string> before;
  for (const FoundFile &file : files) {
    before.insert(file.path);
  }
  NoOutput told_already;
  std::vector<FoundFile> now = FindPlaylistFiles(library, told_already).files;
  std::erase_if(now, [&](const FoundFile &file) { return !before.contains(file.path); });
  return WithoutRow(index, library, now);
}

void WaitUntilSettled(const std::vector<FoundFile> &files, std::chrono::seconds settled) {
  const int64_t now = std::time(nullptr);
  int64_t youngest = 0;
  for (const FoundFile &file : files) {
    youngest = std::max(youngest, std::min(file.time_changed, now));
  }
  std::this_thread::sleep_for(std::chrono::seconds(youngest - now) + settled);
}

} // namespace

Walk FindPlaylistFiles(const Library &library, Output &output) {
  try {
    return WalkFolder(PlaylistsFolder(library), IsPlaylistName, Hidden::kTake, output);
  } catch (const std::system_error &error) {
    if (error.code() == std::errc::no_such_file_or_directory) {
      return {};
    }
    throw;
  }
}

index::Playlist RowOf(const Library &library, const FoundFile &file) {
  index::Playlist row;
  row.owner = library.owner;
  row.path = file.path;
  row.title = Stem(file.path);
  row.album = FileName(file.path.substr(0, file.path.rfind('/')));
  row.change_time = TimeText(file.time_changed);
  row.modification_time = TimeText(file.time_modified);
  row.size_bytes = file.size_bytes;
  return row;
}

bool AddRow(index::MediaIndex &index, const index::Playlist &row) {
  try {
    index.AddPlaylist(row);
    return true;
  } catch (const index::IndexError &) {
    if (!index.PlaylistByPath(row.owner, row.path)) {
      throw;
    }
    return false;
  }
}

std::size_t AddPlaylistRows(index::MediaIndex &index, const Library &library,
                            std::chrono::seconds settled, Output &output) {
  std::vector<FoundFile> missing;
  try {
    missing = WithoutRow(index, library, FindPlaylistFiles(library, output).files);
    if (missing.empty()) {
      return 0;
    }
    WaitUntilSettled(missing, settled);
    missing = StillWithoutRow(index, library, missing);
  } catch (const std::system_error &error) {
    output.Line(library.name + ": playlists cannot be read: " + error.code().message());
    return 0;
  }
  return static_cast<std::size_t>(
      std::count_if(missing.begin(), missing.end(),
                    [&](const FoundFile &file) { return AddRow(index, RowOf(library, file)); }));
}

} // namespace vexo::tools
