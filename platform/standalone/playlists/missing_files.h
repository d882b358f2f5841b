#pragma once
// Which songs are gone for certain. A disk that is not mounted, a folder that cannot be read, a
// link that leads nowhere: none of them says that a song is gone.

#include <string>
#include <vector>

namespace vexo::playlists {

class MissingFiles {
public:
  /// Looks at the libraries there are.
  MissingFiles();

  /// Whether nothing stands at any of `candidates`, the paths that an entry may mean, and one of
  /// them lies below a library's root. Throws std::runtime_error when that library is not there, or
  /// empty, or cannot be read: nobody can tell then.
  bool AreGone(const std::vector<std::string> &candidates);

  /// Throws std::runtime_error when a library asked about is not what it was at the beginning.
  void RequireSameLibraries() const;

private:
  struct Library {
    std::string named, real; ///< `real` is empty when it is not there
    bool was_asked = false;
  };
  enum class State { kThere, kGone, kUnknown };

  Library *LibraryOf(const std::string &path);
  State StateOf(const std::string &path);

  std::vector<Library> libraries_;
};

} // namespace vexo::playlists
