#pragma once
// What the targets that edit playlists have in common.

#include "files/durable_file.h"
#include <cstdlib>
#include <string>
#include <string_view>

inline void Require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

/// What the pieces of an edit make together.
inline std::string Text(const vexo::files::Pieces &pieces) {
  std::string text;
  for (const std::string_view piece : pieces) {
    text += piece;
  }
  return text;
}
