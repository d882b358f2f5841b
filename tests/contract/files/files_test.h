#pragma once
#include "files/durable_file.h"
#include "support/temporary_folder.h"
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <system_error>

namespace vexo::files {

/// The error of what `operation` throws; 0 when it throws nothing.
template <typename Operation> int ErrorOf(Operation operation) {
  try {
    operation();
    return 0;
  } catch (const std::system_error &error) {
    return error.code().value();
  }
}

class Files : public ::testing::Test {
protected:
  /// The names that stand in the folder.
  [[nodiscard]] std::set<std::string> Names() const {
    std::set<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(folder_.path())) {
      names.insert(entry.path().filename().string());
    }
    return names;
  }

  static std::optional<std::string> AppendX(std::string_view content) {
    return std::string(content) + "x";
  }

  TemporaryFolder folder_;
  const std::string path_ = folder_ / "list.m3u";
};

using Set = std::set<std::string>;

} // namespace vexo::files
