#pragma once
#include "actions/create_playlist.h"
#include "unit/actions/action_test.h"

/// An action that creates playlists, with the parameters that it needs besides its name.
struct Creator {
  const char *description;
  Action run;
  std::map<std::string, std::string> parameters;
  const char *songs;         ///< what it writes, with the songs of the fixture
  bool logs_personal_folder; ///< in the message of a folder that cannot be made
};

inline const Creator kCreators[] = {
    {"add", &PlaylistHandler::HandleAdd, {{"id_info_list", R"(["12"])"}}, "[12 /twelve.mp3]", true},
    {"addplaying",
     &PlaylistHandler::HandleAddPlaying,
     {{"target", "stream"}},
     "[13 /thirteen.mp3]",
     false},
    {"addsearch",
     &PlaylistHandler::HandleAddSearch,
     {{"category", "artist"}, {"keyword", "x"}},
     "[14 /fourteen.mp3]",
     false},
};

class CreatePlaylist : public ActionTest {
protected:
  void SetUp() override {
    ActionTest::SetUp();
    host().records["VEXOMusicListGetByID"] = {recording::Song(12, "/twelve.mp3")};
    host().records["PlaylistFileLoad"] = {recording::Song(13, "/thirteen.mp3")};
    host().records["VEXOMusicListAll"] = {recording::Song(14, "/fourteen.mp3")};
  }

  /// Runs the creator with its own parameters and these.
  std::string Create(const Creator &creator, std::map<std::string, std::string> parameters) {
    parameters.insert(creator.parameters.begin(), creator.parameters.end());
    return Run(creator.run, std::move(parameters));
  }

  /// The answer with the node of a playlist "Road".
  static std::string NodeAnswer(const std::string &id) {
    return R"({"node":{"allowDrag":false,"allowDrop":false,"draggable":false,"expanded":false,)"
           R"("id":")" +
           id +
           R"(","leaf":true,"pid":"musiclib_root","qtip":"Road","text":"Road"},"success":true})";
  }

  /// Takes the folder and the file away again.
  static void Forget(const std::string &parent) {
    std::filesystem::remove_all(parent + "/playlists");
  }
};
