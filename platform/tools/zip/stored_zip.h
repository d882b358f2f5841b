#pragma once
// ZIP archives of stored entries, written front to back to a pipe, after PKWARE's APPNOTE 6.3.10.
//
// A local header carries its entry's size, but the checksum is known only when the file has passed,
// so it follows in a data descriptor. ZIP64 records are written exactly where a number does not fit
// its field; a field of all ones means "look there", so that value does not fit either.

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

namespace vexo::zip {

class StoredZip {
public:
  /// Writes to the descriptor `output`, which stays the caller's.
  explicit StoredZip(int output);

  /// Adds the first `size_bytes` bytes of the descriptor `file` as an entry. Throws
  /// std::system_error when reading or writing fails and std::runtime_error when the file ends
  /// early; the archive is then broken and must not be finished.
  void Add(std::string_view name, int file, uint64_t size_bytes, std::time_t modified);
  /// The same of bytes in memory.
  void Add(std::string_view name, std::string_view content, std::time_t modified);

  /// Writes the central directory.
  void Finish();

private:
  struct Entry;
  Entry Begin(std::string_view name, uint64_t size_bytes, std::time_t modified);
  void End(const Entry &entry);
  void Write(std::string_view bytes);
  uint32_t CopyFile(int file, uint64_t size_bytes, const std::string &name);
  /// Sends `bytes`, which were read at `position` of the file. The kernel hands over its own copy
  /// of them where it can; a file that changes meanwhile then no longer fits its checksum, as it
  /// should. False: the file has become shorter.
  bool Send(int file, uint64_t position, std::string_view bytes);

  int output_;
  uint64_t offset_bytes_ = 0;
  uint64_t entries_ = 0;
  std::string central_; ///< the central directory's headers so far
  std::string buffer_;
  bool splices_ = true; ///< until the kernel says that it cannot
};

} // namespace vexo::zip
