#include "zip/stored_zip.h"

#include "files/file_io.h"

#include "text/utf8.h"
#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <libdeflate.h>
#include <limits>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace vexo::zip {
namespace {

constexpr uint64_t kField16 = 0xFFFF;
constexpr uint64_t kField32 = 0xFFFFFFFF;
constexpr unsigned kPlainVersion = 10, kZip64Version = 45; // "needed to extract": 1.0, 4.5
constexpr unsigned kMadeOnUnix = 3U << 8U;
constexpr unsigned kDescriptorFlag = 1U << 3U, kUtf8Flag = 1U << 11U;
constexpr unsigned kZip64Extra = 0x0001, kTimeExtra = 0x5455;
// Large enough to make system calls rare, small enough to stay in a core's cache.
constexpr std::size_t kBufferBytes = std::size_t{256} << 10U;

/// Little-endian numbers, one after the other.
class Record {
public:
  Record &Add(unsigned width_bytes, uint64_t value) {
    for (unsigned byte = 0; byte < width_bytes; ++byte) {
      bytes_.push_back(static_cast<char>((value >> (8U * byte)) & 0xFFU));
    }
    return *this;
  }
  Record &Add(std::string_view bytes) {
    bytes_.append(bytes);
    return *this;
  }
  [[nodiscard]] const std::string &bytes() const { return bytes_; }

private:
  std::string bytes_;
};

/// The value for a field that may have to refer to a ZIP64 record.
uint64_t Fit(uint64_t value, uint64_t all_ones) { return std::min(value, all_ones); }

bool IsAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
}

/// The date and time of MS-DOS: local, from 1980 to 2107, in steps of two seconds.
uint32_t DosTime(std::time_t time) {
  std::tm local{};
  if (localtime_r(&time, &local) == nullptr || local.tm_year < 80) {
    return 1U << 21U | 1U << 16U;
  }
  const auto number = [](int value) { return static_cast<uint32_t>(value); };
  return std::min(number(local.tm_year - 80), 127U) << 25U | number(local.tm_mon + 1) << 21U |
         number(local.tm_mday) << 16U | number(local.tm_hour) << 11U | number(local.tm_min) << 5U |
         number(local.tm_sec) / 2;
}

/// The extra field that has the modification time in seconds since 1970, of any time zone.
std::string TimeExtra(std::time_t time) {
  if (time < std::numeric_limits<int32_t>::min() || time > std::numeric_limits<int32_t>::max()) {
    return {};
  }
  return Record()
      .Add(2, kTimeExtra)
      .Add(2, 5)
      .Add(1, 1)
      .Add(4, static_cast<uint64_t>(time))
      .bytes();
}

/// The ZIP64 extra field with these values.
std::string Zip64Extra(std::initializer_list<uint64_t> values) {
  Record extra;
  extra.Add(2, kZip64Extra).Add(2, 8 * values.size());
  for (const uint64_t value : values) {
    extra.Add(8, value);
  }
  return extra.bytes();
}

} // namespace

struct StoredZip::Entry {
  std::string name;
  uint64_t size_bytes;
  uint64_t offset_bytes; ///< of the local header
  std::time_t modified;
  uint32_t crc = 0;

  [[nodiscard]] bool IsLarge() const { return size_bytes >= kField32; }

  /// What local and central headers share: from the version needed to the two sizes.
  [[nodiscard]] std::string Common(bool zip64) const {
    const bool utf8 = !IsAscii(name) && text::IsUtf8(name);
    return Record()
        .Add(2, zip64 ? kZip64Version : kPlainVersion)
        .Add(2, kDescriptorFlag | (utf8 ? kUtf8Flag : 0))
        .Add(2, 0) // stored
        .Add(4, DosTime(modified))
        .Add(4, crc)
        .Add(4, zip64 ? kField32 : size_bytes)
        .Add(4, zip64 ? kField32 : size_bytes)
        .bytes();
  }

  [[nodiscard]] std::string LocalHeader() const {
    const std::string extra =
        (IsLarge() ? Zip64Extra({size_bytes, size_bytes}) : std::string()) + TimeExtra(modified);
    return Record()
        .Add(4, 0x04034b50)
        .Add(Common(IsLarge()))
        .Add(2, name.size())
        .Add(2, extra.size())
        .Add(name)
        .Add(extra)
        .bytes();
  }

  [[nodiscard]] std::string Descriptor() const {
    const unsigned width_bytes = IsLarge() ? 8 : 4;
    return Record()
        .Add(4, 0x08074b50)
        .Add(4, crc)
        .Add(width_bytes, size_bytes)
        .Add(width_bytes, size_bytes)
        .bytes();
  }

  /// One number that does not fit sends all of them to the extra field: a widespread reader expects
  /// sizes there for the entry behind one of exactly 4 GiB - 1 bytes.
  [[nodiscard]] std::string CentralHeader() const {
    const bool zip64 = IsLarge() || offset_bytes >= kField32;
    const std::string extra =
        (zip64 ? Zip64Extra({size_bytes, size_bytes, offset_bytes}) : std::string()) +
        TimeExtra(modified);
    return Record()
        .Add(4, 0x02014b50)
        .Add(2, kMadeOnUnix | (zip64 ? kZip64Version : kPlainVersion))
        .Add(Common(zip64))
        .Add(2, name.size())
        .Add(2, extra.size())
        .Add(2 + 2 + 2, 0) // no comment, disk 0, a binary file
        .Add(4, uint64_t{S_IFREG | 0644U} << 16U)
        .Add(4, zip64 ? kField32 : offset_bytes)
        .Add(name)
        .Add(extra)
        .bytes();
  }
};

StoredZip::StoredZip(int output) : output_(output), buffer_(kBufferBytes, '\0') {}

void StoredZip::Add(std::string_view name, int file, uint64_t size_bytes, std::time_t modified) {
  Entry entry = Begin(name, size_bytes, modified);
  entry.crc = CopyFile(file, size_bytes, entry.name);
  End(entry);
}

void StoredZip::Add(std::string_view name, std::string_view content, std::time_t modified) {
  Entry entry = Begin(name, content.size(), modified);
  entry.crc = libdeflate_crc32(0, content.data(), content.size());
  Write(content);
  End(entry);
}

StoredZip::Entry StoredZip::Begin(std::string_view name, uint64_t size_bytes,
                                  std::time_t modified) {
  if (name.size() > kField16) {
    throw std::runtime_error("a name is too long");
  }
  Entry entry{std::string(name), size_bytes, offset_bytes_, modified};
  Write(entry.LocalHeader());
  return entry;
}

void StoredZip::End(const Entry &entry) {
  Write(entry.Descriptor());
  central_ += entry.CentralHeader();
  ++entries_;
}

void StoredZip::Finish() {
  const uint64_t start = offset_bytes_;
  Write(central_);
  const uint64_t end = offset_bytes_;
  const uint64_t size = end - start;
  if (entries_ >= kField16 || size >= kField32 || start >= kField32) {
    Write(Record()
              .Add(4, 0x06064b50)
              .Add(8, 44) // the bytes that follow
              .Add(2, kMadeOnUnix | kZip64Version)
              .Add(2, kZip64Version)
              .Add(4 + 4, 0) // disk 0, directory on disk 0
              .Add(8, entries_)
              .Add(8, entries_)
              .Add(8, size)
              .Add(8, start)
              .bytes());
    Write(Record().Add(4, 0x07064b50).Add(4, 0).Add(8, end).Add(4, 1).bytes());
  }
  Write(Record()
            .Add(4, 0x06054b50)
            .Add(2 + 2, 0) // disk 0, directory on disk 0
            .Add(2, Fit(entries_, kField16))
            .Add(2, Fit(entries_, kField16))
            .Add(4, Fit(size, kField32))
            .Add(4, Fit(start, kField32))
            .Add(2, 0) // no comment
            .bytes());
}

void StoredZip::Write(std::string_view bytes) {
  if (!files::WriteAll(output_, bytes)) {
    throw std::system_error(errno, std::generic_category(), "cannot write the archive");
  }
  offset_bytes_ += bytes.size();
}

uint32_t StoredZip::CopyFile(int file, uint64_t size_bytes, const std::string &name) {
  uint32_t crc = 0;
  for (uint64_t done = 0; done < size_bytes;) {
    const std::size_t wanted = std::min<uint64_t>(size_bytes - done, buffer_.size());
    const ssize_t count = pread(file, buffer_.data(), wanted, static_cast<off_t>(done));
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count < 0) {
      throw std::system_error(errno, std::generic_category(), "cannot read " + name);
    }
    const std::string_view bytes(buffer_.data(), static_cast<std::size_t>(count));
    crc = libdeflate_crc32(crc, bytes.data(), bytes.size());
    if (bytes.empty() || !Send(file, done, bytes)) {
      throw std::runtime_error(name + " became shorter while it was read");
    }
    done += bytes.size();
  }
  return crc;
}

bool StoredZip::Send(int file, uint64_t position, std::string_view bytes) {
  auto from = static_cast<off_t>(position);
  while (splices_ && !bytes.empty()) {
    const ssize_t moved = splice(file, &from, output_, nullptr, bytes.size(), SPLICE_F_MORE);
    if (moved == 0) {
      return false;
    }
    if (moved < 0 && errno != EINTR && errno != EINVAL) {
      throw std::system_error(errno, std::generic_category(), "cannot write the archive");
    }
    splices_ = moved > 0 || errno != EINVAL;
    const auto count = static_cast<std::size_t>(std::max<ssize_t>(moved, 0));
    offset_bytes_ += count;
    bytes.remove_prefix(count);
  }
  Write(bytes);
  return true;
}

} // namespace vexo::zip
