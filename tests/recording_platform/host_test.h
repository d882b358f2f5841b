#pragma once
// The fixture of the program's tests: an empty device root and a host that has recorded nothing.

#include "recording_platform/recording_host.h"
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace recording {

class HostTest : public ::testing::Test {
protected:
  /// The device root holds /etc and /tmp, a shared library behind the music link, and a preference
  /// folder of the user "anna"; none of them has a folder of playlists.
  void SetUp() override {
    namespace fs = std::filesystem;
    ASSERT_STRNE(DEVICE_ROOT, "") << "tests need a device root of their own";
    fs::remove_all(DEVICE_ROOT);
    for (const char *folder : {"/etc", "/tmp", "/var/services", "/library", "/anna", "/music"}) {
      fs::create_directories(root() + folder);
    }
    fs::create_directory_symlink(library(), root() + "/var/services/music");
    ResetHost();
    host().preference_folder = preferences();
    host().personal_folder = personal();
  }
  void TearDown() override { ResetHost(); }

  static Host &host() { return TheHost(); }
  static std::string root() { return DEVICE_ROOT; }
  /// What the music link points to.
  static std::string library() { return root() + "/library"; }
  /// The user's preference folder.
  static std::string preferences() { return root() + "/anna"; }
  /// The folder of the user's personal library.
  static std::string personal() { return root() + "/music"; }

  /// What an action answers that has met a failure of the system.
  static constexpr const char *kSystemError =
      R"({"error":{"key":"error_system","section":"common"}})";
};

} // namespace recording
