#pragma once
// Which files of the libraries are there. Only the shared library and the personal library of the
// request's user (every library, outside of a request) are looked at: what stands elsewhere is
// nothing that a playlist may tell. A disk that is not mounted, a folder that cannot be read, a
// link that leads nowhere: none of them says that a song is gone.

#include <string>
#include <unordered_map>
#include <vector>

namespace vexo::playlists {

class LibraryFiles {
public:
  struct Library {
    std::string named, real; ///< as the account has it; resolved, and empty when it is not there
    bool holds_gone_file = false;
  };
  enum class State {
    kThere,
    kGone,    ///< certainly: nothing stands there, below the root of a library that is there
    kUnknown, ///< cannot be found out, or a link leads out of the libraries
    kOutside, ///< the path is not one of the libraries, and was not looked at
    kAway,    ///< of a library that is not there, empty or not readable
  };

  LibraryFiles();

  [[nodiscard]] const std::vector<Library> &libraries() const { return libraries_; }
  State StateOf(const std::string &path);

  /// Whether the libraries of all files that were kGone are still what they were.
  [[nodiscard]] bool AreLibrariesTheSame() const;

private:
  struct Folder {
    State state;
    std::string real; ///< when it is there
  };

  Library *NamedLibraryOf(const std::string &path);
  Library *RealLibraryOf(const std::string &real_path);
  const Folder &FolderAt(const std::string &path);
  Folder ExamineFolder(const std::string &path);
  State StateIn(const Folder &folder, const std::string &name);
  State GoneFrom(const std::string &real_folder);

  std::vector<Library> libraries_;
  std::unordered_map<std::string, Folder> folders_;
};

} // namespace vexo::playlists
