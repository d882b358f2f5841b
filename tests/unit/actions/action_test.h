#pragma once
#include "handler/audio_playlist.h"
#include "recording_platform/host_test.h"
#include "support/temporary_folder.h"
#include <cstdlib>
#include <optional>
#include <sys/stat.h>

using Action = void (PlaylistHandler::*)();

/// The fixture of the actions: a host that makes the playlist files it is asked to write, when
/// their folder is there.
class ActionTest : public recording::HostTest {
protected:
  void SetUp() override {
    HostTest::SetUp();
    host().texts["VEXOPlaylistIDGet"] = "31";
    host().on["VEXOWriteMusicPlaylist"] = [](const recording::Event &event) {
      const std::size_t begin = event.text.rfind(", \"") + 3;
      const std::string path = event.text.substr(begin, event.text.size() - begin - 2);
      if (!std::filesystem::exists(path)) {
        WriteBytes(path, "");
      }
    };
  }

  /// Runs an action on the parameters and returns its answer as compact JSON.
  std::string Run(Action action, std::map<std::string, std::string> parameters) {
    handler_.emplace();
    host().parameters = std::move(parameters);
    host().events.clear();
    host().log.clear();
    host().answers.clear();
    host().saved.clear();
    (*handler_.*action)();
    return host().AnswerText();
  }

  /// The permission bits of a file; 0 when it is not there.
  static unsigned ModeOf(const std::string &path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0U;
  }

  /// The answer with the node of a copy "Road".
  static std::string CopyAnswer(const std::string &id, const std::string &pid) {
    return R"({"node":{"allowDrag":false,"allowDrop":false,"draggable":false,"expanded":false,"id":")" +
           id + R"(","leaf":true,"pid":")" + pid +
           R"(","qtip":"Road","text":"Road"},"success":true})";
  }

  /// Whether another process could take the lock of a folder now.
  static bool IsFree(const std::string &folder) {
    return std::system(("flock -n '" + folder + "' true").c_str()) == 0;
  }

  static bool Exists(const std::string &path) {
    return std::filesystem::exists(std::filesystem::symlink_status(path));
  }

  static constexpr const char *kNameTooLong =
      R"({"error":{"key":"playlist_name_too_long","section":"playlist"}})";
  static constexpr const char *kNameExists =
      R"({"error":{"key":"playlist_name_exist","section":"playlist"}})";
  /// The event 0x13200003 of the administrative log.
  static constexpr const char *kEvent =
      R"call(VEXOLogSet1(2, 1, 320864259, "remove playlist(s)", "", "", ""))call";
  static constexpr const char *kSuccess = R"({"success":true})";

private:
  std::optional<PlaylistHandler> handler_; ///< until the next run: its end is no part of this one
};
