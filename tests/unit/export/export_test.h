#pragma once
// The fixture of the download's tests: the tools of the device stand in the device root, the zip
// tool as a script that writes the names it reads.

#include "handler/audio_playlist.h"
#include "recording_platform/host_test.h"
#include "support/temporary_folder.h"
#include "system_calls.h"
#include <csignal>
#include <vector>

class ExportTest : public recording::HostTest {
protected:
  void SetUp() override {
    namespace fs = std::filesystem;
    HostTest::SetUp();
    system_calls::control() = {};
    fs::create_directories(root() + "/bin");
    fs::create_directories(root() + "/usr/vexo/bin");
    fs::create_symlink("/bin/cat", root() + "/bin/cat");
    WriteBytes(root() + "/usr/vexo/bin/zip", "#!/bin/sh\ncat\n");
    fs::permissions(root() + "/usr/vexo/bin/zip", fs::perms::owner_all);
    fs::current_path(root());
    host().on["Output"] = [this](const recording::Event &) { LookIntoFolder(); };
  }
  void TearDown() override {
    signal(SIGTERM, SIG_DFL);
    std::filesystem::current_path("/");
    HostTest::TearDown();
  }

  /// Runs the action; what it printed by itself.
  static std::string Download() {
    testing::internal::CaptureStdout();
    PlaylistHandler().HandleDownload();
    return testing::internal::GetCapturedStdout();
  }

  /// The download of chosen songs, by their paths.
  static std::string DownloadSongs(const std::vector<std::string> &paths) {
    Json::Value songs(Json::arrayValue);
    for (const std::string &path : paths) {
      Json::Value song;
      song["res"] = path;
      songs.append(song);
    }
    host().parameters["id_info_list"] = songs.toStyledString();
    return Download();
  }

  /// What the zip tool was given, a name a line.
  static std::string NamesForZip() {
    return host().sent.size() == 1 ? host().sent.front().bytes : "not one download";
  }

  /// The folders that downloads have left behind.
  static std::vector<std::string> Leftovers() {
    std::vector<std::string> found;
    for (const auto &entry : std::filesystem::directory_iterator(root() + "/tmp")) {
      if (entry.path().filename().string().starts_with("audiodl")) {
        found.push_back(entry.path());
      }
    }
    return found;
  }

  /// Expects the answer of a failed system, and nothing sent or left.
  static void ExpectSystemError(const std::vector<std::string> &messages) {
    EXPECT_EQ(host().AnswerText(), kSystemError);
    EXPECT_EQ(host().Messages(), messages);
    EXPECT_TRUE(host().sent.empty());
    EXPECT_EQ(Leftovers(), std::vector<std::string>());
  }

  // The working folder as it was while the archive was sent.
  std::string folder_;
  std::string m3u_, m3u8_;
  std::map<std::string, std::string> links_; ///< target by name

private:
  void LookIntoFolder() {
    folder_ = std::filesystem::current_path();
    m3u_ = ReadBytes("playlist.m3u");
    m3u8_ = ReadBytes("playlist.m3u8");
    for (const auto &entry : std::filesystem::directory_iterator(folder_)) {
      if (entry.is_symlink()) {
        links_[entry.path().filename()] = std::filesystem::read_symlink(entry.path());
      }
    }
  }
};
