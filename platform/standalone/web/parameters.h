#pragma once
// The parameters of a request, decoded where they lie: a request may bring tens of megabytes of
// song ids, and they are not copied.

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace vexo::web {

/// Bytes that are decoded in place. One byte more than its size is there, for a terminator.
class Buffer {
public:
  Buffer() = default;
  /// Uninitialised.
  explicit Buffer(std::size_t size)
      : size_(size), bytes_(std::make_unique_for_overwrite<char[]>(size + 1)) {}
  explicit Buffer(std::string_view content);

  [[nodiscard]] char *begin() const { return bytes_.get(); }
  [[nodiscard]] char *end() const { return begin() + size_; }
  [[nodiscard]] std::size_t size() const { return size_; }

private:
  std::size_t size_ = 0;
  std::unique_ptr<char[]> bytes_;
};

/// Decoded and terminated; both texts lie in a Buffer.
struct Parameter {
  std::string_view name, value;
};

/// More parameters than any client of this program sends; a request with more is refused.
inline constexpr std::size_t kMostParameters = 1000;

// Each decodes `buffer` and appends its parameters. False for one that cannot be read whole, or
// makes more than kMostParameters; the buffer's content and `parameters` are then of no use.

/// application/x-www-form-urlencoded, as the WHATWG's URL standard parses it: a '%' without two
/// hexadecimal digits stands for itself.
bool DecodeUrlEncoded(const Buffer &buffer, std::vector<Parameter> &parameters);

/// multipart/form-data (RFC 7578, RFC 2046), parts between lines of "--" and `boundary`.
bool DecodeMultipart(const Buffer &buffer, std::string_view boundary,
                     std::vector<Parameter> &parameters);

/// How many elements the JSON array `text` has: its commas, with none of those in texts, comments
/// and elements. A text that is no array, or none that can be parsed, has some number.
std::size_t CountElements(std::string_view text);

/// False for parameters that could lead the program out of its folders, be seen differently by
/// different readers or make a file that nobody sees: a NUL byte in any, or one called "name" with
/// a path component ".." or with nothing as its last component.
bool AreHarmless(const std::vector<Parameter> &parameters);

} // namespace vexo::web
