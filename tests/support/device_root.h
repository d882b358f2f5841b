#pragma once
// The device root of the tests: every fixed path of the platform lies below it. A test that uses it
// belongs to a program marked ROOT in its CMakeLists.txt, as only one may have it at a time.

#include "support/temporary_folder.h"
#include "system/paths.h"
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

/// Starts each test with an empty device root that holds the folders every machine has and an empty
/// shared library behind its link.
class DeviceRootTest : public ::testing::Test {
protected:
  void SetUp() override {
    namespace fs = std::filesystem;
    const std::string root = DEVICE_ROOT;
    ASSERT_NE(root, "") << "tests need a device root of their own";
    fs::remove_all(root);
    for (const char *folder : {"/etc/vexo", "/var/services/homes", "/var/lib/vexo/preferences",
                               "/var/log/vexo", "/tmp", "/library/playlists"}) {
      fs::create_directories(root + folder);
    }
    fs::create_directory_symlink(library(), vexo::system::kMusicLink);
  }

  /// The shared library's folder.
  [[nodiscard]] static std::string library() { return DEVICE_ROOT "/library"; }
};
