#pragma once
// The stretch of a file that a client asks for: the field Range of RFC 9110, 14.1 and 14.2.

#include <cstdint>
#include <string>
#include <string_view>

namespace vexo::media {

/// What a Range field comes to for a file of a certain size.
struct ByteRange {
  enum class Kind {
    kWhole,         ///< the field is not there: all of the file
    kIgnored,       ///< it is no range of bytes, or several, which is answered by all of the file
    kPart,          ///< `size` bytes from `first` on, at least one
    kUnsatisfiable, ///< the file has no such byte: 416
  };
  Kind kind = Kind::kWhole;
  uint64_t first = 0, size = 0; ///< of what is sent: 0 and the file's size for all of it

  friend bool operator==(const ByteRange &, const ByteRange &) = default;
};

/// `field` is empty when there is none.
ByteRange ParseRange(std::string_view field, uint64_t file_size);

/// The field Content-Range with its line end: "bytes 0-3/100", or "bytes */100" for a range that
/// cannot be; empty for a whole file.
std::string ContentRange(const ByteRange &range, uint64_t file_size);

} // namespace vexo::media
