#pragma once
// Texts go through fields of a fixed size, where longer ones are cut and never refused.

#include <cstddef>
#include <string>

/// Sizes of the fields, the terminator included.
inline constexpr std::size_t kPathSize = 4096;
inline constexpr std::size_t kNodeIdSize = 4096;

/// `text` as a field of `size` bytes holds it: cut to size - 1 bytes.
[[nodiscard]] std::string CutToField(std::string text, std::size_t size);

/// Prints into a field as snprintf() does, and is meant to cut.
[[gnu::format(printf, 3, 4)]] void PrintToField(char *field, std::size_t size, const char *format,
                                                ...);

/// Fills a text field of a record; null counts as empty.
template <std::size_t N> void SetField(char (&field)[N], const char *text) {
  PrintToField(field, N, "%s", text == nullptr ? "" : text);
}
