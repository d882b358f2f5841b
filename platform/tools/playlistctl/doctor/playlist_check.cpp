#include "playlistctl/doctor/playlist_check.h"

#include "playlistctl/scan/playlist_rows.h"
#include <filesystem>
#include <set>
#include <system_error>
#include <thread>

namespace vexo::tools {
namespace {

using Kind = PlaylistDifference::Kind;

/// What an administrator is told of it.
std::string Describe(const PlaylistDifference &difference) {
  std::string path = Printable(difference.row.path);
  switch (difference.kind) {
  case Kind::kStatus:
    return "the row of " + path + " does not tell its file's size, time or identity";
  case Kind::kTitle:
    return "the row of " + path + " is called \"" + Printable(difference.row.title) + "\"";
  case Kind::kMoved:
    return Printable(difference.mended.path) + " was renamed, its row has the path " + path;
  case Kind::kLost:
    return "row " + std::to_string(difference.row.id) + " has no file: " + path;
  case Kind::kNew:
    return path + " has no row";
  }
  return path;
}

/// A library that is not mounted looks like one whose files are all gone.
bool IsThere(const Library &library) {
  std::error_code error;
  const std::filesystem::directory_iterator entries(library.folder, error);
  return !error && entries != std::filesystem::directory_iterator();
}

/// What differs now and did so a while ago.
std::vector<PlaylistDifference> LastingDifferences(index::MediaIndex &index, const Library &library,
                                                   std::chrono::milliseconds grace_period,
                                                   Output &output) {
  std::set<std::string> before;
  for (const PlaylistDifference &difference : ComparePlaylists(index, library, output)) {
    before.insert(Describe(difference));
  }
  if (before.empty()) {
    return {};
  }
  std::this_thread::sleep_for(grace_period);
  std::vector<PlaylistDifference> differences = ComparePlaylists(index, library, output);
  std::erase_if(differences, [&](const auto &d) { return !before.contains(Describe(d)); });
  return differences;
}

void FailWithoutFiles() { throw std::runtime_error("nothing is done without its files"); }

} // namespace

void CheckPlaylists(index::MediaIndex &index, const Library &library,
                    std::chrono::milliseconds grace_period, Findings &findings, Output &output) {
  if (!IsThere(library) && !index.AllPlaylists(library.owner).empty()) {
    return findings.Found(library.name + ": " + Printable(library.folder) +
                              " is empty or cannot be read",
                          FailWithoutFiles);
  }
  try {
    for (const auto &difference : LastingDifferences(index, library, grace_period, output)) {
      const auto report = difference.kind == Kind::kStatus ? &Findings::Warn : &Findings::Found;
      (findings.*report)(library.name + ": " + Describe(difference), [&] {
        if (!MendPlaylist(index, difference)) {
          throw std::runtime_error("the file or the row was moved or removed meanwhile");
        }
      });
    }
  } catch (const std::system_error &error) {
    findings.Found(library.name + ": " + error.what(), FailWithoutFiles);
  }
}

} // namespace vexo::tools
