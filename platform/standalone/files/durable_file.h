#pragma once
// Files that are whole at any moment: every write goes to a temporary file in the same folder, is
// synced, and takes its place: a new file by a rename, an edit by an exchange of the two names,
// after which the temporary name holds the old file and is removed. Then the folder is synced.
// Writers of one file are serialised by a lock on the file itself (its inode), which follows it
// through renames. A crash leaves the old file or the new one, and perhaps a temporary file, which
// IsTemporaryName() tells. A path whose last component is a symbolic link is never written (ELOOP).
// All functions throw std::system_error.

#include "files/edit_file.h"
#include "files/file_descriptor.h"
#include "files/folder.h"
#include <functional>
#include <string>
#include <string_view>

namespace vexo::files {

/// The mode of new files, reduced by the umask. Nobody but owner and group may write them, also
/// where the umask is 0.
inline constexpr unsigned kNewFileMode = 0664;

/// Makes a new file; false, with nothing touched, when `path` exists. The mode is reduced by the
/// umask.
[[nodiscard]] bool CreateDurably(const std::string &path, std::string_view content,
                                 unsigned mode = kNewFileMode);

/// The same in place and without a sync: a crash of the machine may leave the file empty, or take
/// it back. For what is written anew soon.
[[nodiscard]] bool CreateUnsynced(const std::string &path, std::string_view content);
/// Makes such a file and its name durable. A file that is gone by now needs nothing.
void SyncIfThere(const std::string &path);

/// Makes the file, or puts the content in the place of the one that is there (with its mode kept).
void ReplaceDurably(const std::string &path, std::string_view content,
                    unsigned mode = kNewFileMode);

/// Replaces the file, of whatever size, or makes it with what `new_content` gives when it is not
/// there, whichever it takes. `edit` is given no content of a file above kMaxFileBytes.
/// `new_content` may throw to give up.
void EditOrCreateDurably(const std::string &path, const Edit &edit,
                         const std::function<std::string()> &new_content,
                         unsigned mode = kNewFileMode);

/// A file taken away: it has a temporary name, and nothing stands where it stood. Commit() removes
/// it for good; a destructor that comes first puts it back, unless something else stands there by
/// then. It is locked meanwhile, or it would count as left over when that takes long.
class FileSetAside {
public:
  /// Fails with ENOENT when nothing stands at `path`. A link is taken away itself.
  explicit FileSetAside(const std::string &path);
  ~FileSetAside();
  FileSetAside(const FileSetAside &) = delete;
  FileSetAside &operator=(const FileSetAside &) = delete;
  /// Where it lies now.
  [[nodiscard]] std::string path() const { return FolderOf(path_) + "/" + aside_; }
  void Commit();

private:
  FileDescriptor folder_, lock_;
  std::string path_, name_, aside_; ///< `aside_` is empty once there is nothing to put back
};

} // namespace vexo::files
