#pragma once
// Files that are whole at any moment: every write goes to a temporary file in the same folder, is
// synced, and takes its place by a rename; then the folder is synced. Writers of one file are
// serialised by a lock on the file itself (its inode), which follows it through renames. A crash
// leaves the old file or the new one, and perhaps a temporary file, which IsTemporaryName() tells.
// A path whose last component is a symbolic link is never written (ELOOP). All functions throw
// std::system_error.

#include "files/file_descriptor.h"
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::files {

inline constexpr std::size_t kMaxFileBytes = std::size_t{1} << 30;

/// The mode of new files, reduced by the umask. Nobody but owner and group may write them, also
/// where the umask is 0.
inline constexpr unsigned kNewFileMode = 0664;

/// The whole file; nothing where there is none (ENOENT, ENOTDIR). Fails with EFBIG above
/// `max_bytes`, with EISDIR or EINVAL for what is no file.
std::optional<std::string> ReadWholeFile(const std::string &path,
                                         std::size_t max_bytes = kMaxFileBytes);
/// The same of an open descriptor, from its beginning on.
std::string ReadWholeFile(int fd, std::size_t max_bytes = kMaxFileBytes);

/// Makes a new file; false, with nothing touched, when `path` exists. The mode is reduced by the
/// umask.
[[nodiscard]] bool CreateDurably(const std::string &path, std::string_view content,
                                 unsigned mode = kNewFileMode);

/// The same in place and without a sync: a crash of the machine may leave the file empty, or take
/// it back. For what is written anew soon.
[[nodiscard]] bool CreateUnsynced(const std::string &path, std::string_view content,
                                  unsigned mode = 0666);
/// Makes such a file and its name durable. A file that is gone by now needs nothing.
void SyncIfThere(const std::string &path);

/// Makes the file, or puts the content in the place of the one that is there (with its mode kept).
void ReplaceDurably(const std::string &path, std::string_view content,
                    unsigned mode = kNewFileMode);

/// Turns the old content into the new; nothing: leave the file as it is. May throw to give up. It
/// is called again when somebody else's rename or write came between.
using Edit = std::function<std::optional<std::string>(std::string_view old_content)>;

/// Reads, changes and replaces a file that exists, under its lock. False when it is not there, or
/// was renamed meanwhile: the new content then exists nowhere, and no old name comes back.
[[nodiscard]] bool EditDurably(const std::string &path, const Edit &edit);

/// The new content in pieces, in order: views of the old content, or of texts of the caller's that
/// live until EditPiecesDurably() returns. What stays of a large file is so never copied.
using Pieces = std::vector<std::string_view>;
using PieceEdit = std::function<std::optional<Pieces>(std::string_view old_content)>;
/// What becomes of a file above kMaxFileBytes: it fails with EFBIG, or the edit is given no
/// content.
enum class WhenTooLarge { kFail, kGiveNothing };
[[nodiscard]] bool EditPiecesDurably(const std::string &path, const PieceEdit &edit,
                                     WhenTooLarge when_too_large = WhenTooLarge::kFail);

/// Replaces the file, of whatever size, or makes it with what `new_content` gives when it is not
/// there, whichever it takes. `edit` is given no content of a file above kMaxFileBytes.
/// `new_content` may throw to give up.
void EditOrCreateDurably(const std::string &path, const PieceEdit &edit,
                         const std::function<std::string()> &new_content,
                         unsigned mode = kNewFileMode);

/// A file taken away: it has a temporary name, and nothing stands where it stood. Commit() removes
/// it for good; a destructor that comes first puts it back, unless something else stands there by
/// then.
class FileSetAside {
public:
  /// Fails with ENOENT when nothing stands at `path`. A link is taken away itself.
  explicit FileSetAside(const std::string &path);
  ~FileSetAside();
  FileSetAside(const FileSetAside &) = delete;
  FileSetAside &operator=(const FileSetAside &) = delete;
  void Commit();

private:
  FileDescriptor folder_;
  std::string path_, name_, aside_; ///< `aside_` is empty once there is nothing to put back
};

/// Whether a file name (no folders) is that of a temporary file a crash may have left.
bool IsTemporaryName(std::string_view name);

/// Whether a temporary file's writer is gone: nobody has it locked, and the process that its name
/// tells is not there, or it is older than a minute.
bool IsAbandonedTemporary(const std::string &path);
/// Removes a temporary file whose writer is gone. Whether it was removed.
bool RemoveAbandonedTemporary(const std::string &path);

} // namespace vexo::files
