#pragma once
// Edits of files that exist, under their lock; see files/durable_file.h. They throw
// std::system_error.

#include "files/file_io.h"
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace vexo::files {

/// The most retries of an edit that lost a race. Each lost race is another writer's success, so a
/// working machine never gets there.
inline constexpr int kMaxEditAttempts = 10000;

/// Turns the old content of the file at `path` into the new one: views of the old content, so that
/// what stays of a large file is never copied, or of texts that live until the edit has returned.
/// Nothing: leave the file as it is. May throw to give up. It is called again when somebody else's
/// rename or write came between.
using Edit =
    std::function<std::optional<Pieces>(std::string_view old_content, const std::string &path)>;

struct EditOptions {
  /// Asked once the file is locked; false gives up.
  std::function<bool()> verify = [] { return true; };
  /// Whether a file above kMaxFileBytes is edited as if it were empty. Otherwise it fails with
  /// EFBIG.
  bool takes_too_large = false;
};

/// Reads, changes and replaces a file that exists, under its lock. False when it is not there, was
/// renamed meanwhile, or `verify` gave up: the new content then exists nowhere, and no old name
/// comes back.
[[nodiscard]] bool EditDurably(const std::string &path, const Edit &edit,
                               const EditOptions &options = {});

/// The same with a text that the edit makes.
using TextEdit = std::function<std::optional<std::string>(std::string_view old_content)>;
[[nodiscard]] bool EditTextDurably(const std::string &path, const TextEdit &edit);

} // namespace vexo::files
