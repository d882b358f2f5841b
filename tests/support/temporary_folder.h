#pragma once
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <unistd.h>

/// A folder of its own for a test, removed with everything in it.
class TemporaryFolder {
public:
  TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "vexo-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
      throw std::runtime_error("mkdtemp failed");
    }
    path_ = std::filesystem::canonical(name).string();
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder &) = delete;
  TemporaryFolder &operator=(const TemporaryFolder &) = delete;

  [[nodiscard]] const std::string &path() const { return path_; }
  [[nodiscard]] std::string operator/(const std::string &name) const { return path_ + "/" + name; }

private:
  std::string path_;
};

/// Writes a file as it is given, without any care for durability.
inline void WriteBytes(const std::string &path, const std::string &bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

/// The bytes of a file; empty when it cannot be read.
inline std::string ReadBytes(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}
