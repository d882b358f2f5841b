#include "doctor/playlist_check.h"

#include "scan/playlist_rows.h"
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>
#include <set>
#include <sys/stat.h>
#include <system_error>
#include <thread>

namespace vexo::tools {
namespace {

using index::Playlist;

/// One thing that differs, and how it is mended.
struct Difference {
  std::string what;
  std::function<void()> mend;
  bool harmless = false;
};

/// In the order in which they are to be mended.
using Differences = std::vector<Difference>;

/// Whether a title is the file's name: the whole of it, or with folders below the playlists folder.
bool IsTitleOf(const std::string &title, const std::string &path) {
  const std::string_view without_extension =
      std::string_view(path).substr(0, path.size() - FileName(path).size() + Stem(path).size());
  return !title.empty() && without_extension.ends_with("/" + title);
}

class Comparison {
public:
  Comparison(index::MediaIndex &index, const Library &library, Output &output)
      : index_(index), library_(library), output_(output) {}

  Differences Run() {
    differences_.clear();
    std::map<std::string, FoundFile> files;
    for (FoundFile &file : FindPlaylistFiles(library_, output_).files) {
      std::string path = file.path;
      files.emplace(std::move(path), std::move(file));
    }
    std::vector<Playlist> lost;
    for (const Playlist &row : index_.AllPlaylists(library_.owner)) {
      const auto file = files.find(row.path);
      if (file != files.end()) {
        CompareRow(row, file->second);
        files.erase(file);
      } else if (IsGone(row.path)) {
        lost.push_back(row);
      }
    }
    FindRenames(lost, files);
    AddLost(lost);
    AddFiles(files);
    return std::move(differences_);
  }

private:
  static bool IsGone(const std::string &path) {
    struct stat status {};
    return stat(path.c_str(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR);
  }

  void CompareRow(const Playlist &row, const FoundFile &file) {
    Playlist mended = RowOf(library_, file);
    if (!IsTitleOf(row.title, row.path)) {
      Add("the row of " + Printable(row.path) + " is called \"" + Printable(row.title) + "\"",
          [=, this] { Update(row.path, mended); });
    } else if (row.size_bytes != mended.size_bytes ||
               row.modification_time != mended.modification_time) {
      mended.title = row.title;
      Add("the row of " + Printable(row.path) + " has another size or time than the file",
          [=, this] { Update(row.path, mended); });
      differences_.back().harmless = true;
    }
  }

  /// A rename that was cut short left a row without its file and a file without its row, with the
  /// same facts.
  void FindRenames(std::vector<Playlist> &lost, std::map<std::string, FoundFile> &files) {
    for (auto row = lost.begin(); row != lost.end();) {
      const auto file = std::find_if(files.begin(), files.end(), [&](const auto &candidate) {
        const Playlist facts = RowOf(library_, candidate.second);
        return facts.size_bytes == row->size_bytes &&
               facts.modification_time == row->modification_time;
      });
      if (file == files.end()) {
        ++row;
        continue;
      }
      const Playlist mended = RowOf(library_, file->second);
      Add(Printable(file->first) + " was renamed, its row has the path " + Printable(row->path),
          [=, this, old_path = row->path] { Update(old_path, mended); });
      files.erase(file);
      row = lost.erase(row);
    }
  }

  void AddLost(const std::vector<Playlist> &lost) {
    for (const Playlist &row : lost) {
      Add("row " + std::to_string(row.id) + " has no file: " + Printable(row.path),
          [=, this] { (void)index_.RemovePlaylist(library_.owner, row.id); });
    }
  }

  void AddFiles(const std::map<std::string, FoundFile> &files) {
    for (const auto &[path, file] : files) {
      Add(Printable(path) + " has no row",
          [row = RowOf(library_, file), this] { AddRow(index_, row); });
    }
  }

  /// Only while the row has the path that was looked at: a request may have renamed the playlist.
  void Update(const std::string &path, const Playlist &values) {
    if (!index_.UpdatePlaylist(library_.owner, path, values)) {
      throw std::runtime_error("the row was moved or removed meanwhile");
    }
  }

  void Add(const std::string &what, std::function<void()> mend) {
    differences_.push_back({library_.name + ": " + what, std::move(mend)});
  }

  index::MediaIndex &index_;
  const Library &library_;
  Output &output_;
  Differences differences_;
};

/// A library that is not mounted looks like one whose files are all gone.
bool IsThere(const Library &library) {
  std::error_code error;
  const std::filesystem::directory_iterator entries(library.folder, error);
  return !error && entries != std::filesystem::directory_iterator();
}

/// What differs now and did so a while ago. It lives as long as the comparison.
Differences LastingDifferences(Comparison &comparison, std::chrono::milliseconds settled) {
  std::set<std::string> before;
  for (const Difference &difference : comparison.Run()) {
    before.insert(difference.what);
  }
  if (before.empty()) {
    return {};
  }
  std::this_thread::sleep_for(settled);
  Differences differences = comparison.Run();
  std::erase_if(differences, [&](const Difference &d) { return !before.contains(d.what); });
  return differences;
}

void FailWithoutFiles() { throw std::runtime_error("nothing is done without its files"); }

} // namespace

void CheckPlaylists(index::MediaIndex &index, const Library &library,
                    std::chrono::milliseconds settled, Findings &findings, Output &output) {
  if (!IsThere(library) && !index.AllPlaylists(library.owner).empty()) {
    return findings.Found(library.name + ": " + Printable(library.folder) +
                              " is empty or cannot be read",
                          FailWithoutFiles);
  }
  try {
    Comparison comparison(index, library, output);
    for (const Difference &difference : LastingDifferences(comparison, settled)) {
      const auto report = difference.harmless ? &Findings::Noticed : &Findings::Found;
      (findings.*report)(difference.what, difference.mend);
    }
  } catch (const std::system_error &error) {
    findings.Found(library.name + ": " + error.what(), FailWithoutFiles);
  }
}

} // namespace vexo::tools
