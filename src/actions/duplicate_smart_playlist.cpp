#include "actions/duplicate_smart_playlist.h"

#include "actions/delete_playlists.h"
#include "actions/new_playlist.h"
#include "model/answer.h"
#include "model/device_paths.h"
#include "model/field_text.h"
#include "model/log_line.h"
#include "model/node_id.h"
#include "model/parameters.h"
#include "model/tree_node.h"
#include "vexo/itunes.h"
#include <sys/stat.h>

namespace {

/// A smart playlist as the DAAP library holds it, with its rules.
class SmartPlaylist {
public:
  SmartPlaylist() = default;
  ~SmartPlaylist() {
    if (playlist_.nodes != nullptr) {
      iTunesPLNodesFree(playlist_.nodes);
    }
  }
  SmartPlaylist(const SmartPlaylist &) = delete;
  SmartPlaylist &operator=(const SmartPlaylist &) = delete;

  [[nodiscard]] bool Read(const std::string &file, const char *name, Json::Value &response) {
    if (iTunesPlaylistGetByFilename(file.c_str(), name, &playlist_) < 0) {
      return LOG_AND_FAIL(response, "Failed to get iTunes's playlist! name=%s", name);
    }
    return true;
  }

  /// Adds the playlist to the file, or replaces the one of its name there.
  [[nodiscard]] bool Write(const std::string &file, const char *name, bool overwrite,
                           Json::Value &response) const {
    const bool exists = IsiTunesPlaylistExistByFilename(file.c_str(), name) != 0;
    if (exists && !overwrite) {
      return NameExists(response);
    }
    if (iTunesPlaylistSetByFilename(file.c_str(), exists ? name : nullptr, &playlist_) < 0) {
      return LOG_AND_FAIL(response, "iTunesPlaylistSet() failed");
    }
    return true;
  }

private:
  iTunesPlaylist playlist_{};
};

/// Makes the login user's rules when they are missing, with the folder that they are in.
bool PreparePersonalRules(const WebMan &request, const std::string &rules, Json::Value &response) {
  if (!MakePlaylistsFolder(PlaylistsFolder(request.GetPreferenceDir()), false, false, response)) {
    return false;
  }
  struct stat status {};
  if (stat(rules.c_str(), &status) == 0) {
    return true;
  }
  const int result = VLIBCExec(kTouchTool, rules.c_str(), nullptr, nullptr, nullptr);
  if (result < 0) {
    return LOG_AND_FAIL(response, "Failed to touch %s. ret=%d", rules.c_str(), result);
  }
  return true;
}

void AnswerNode(const std::string &name, bool is_shared, Json::Value &response) {
  const std::string root = LibraryRootId(is_shared);
  Json::Value node;
  node["id"] = CutToField(root + "/smart/" + name, kNodeIdSize);
  node["pid"] = root;
  node["text"] = name;
  node["qtip"] = name;
  SetLeafMembers(node);
  response["node"] = node;
  ActionHandler::SetSuccess(response, true);
}

} // namespace

void DuplicateSmartPlaylist(const WebMan &request, Json::Value &response, const char *id) {
  const bool to_shared = IsPersonalId(id);
  const char *name = IdTail(id, 2);
  const std::string personal = PersonalSmartRules(request);
  const std::string shared = kSharedSmartRules;
  SmartPlaylist playlist;
  if (!PreparePersonalRules(request, personal, response) ||
      !playlist.Read(to_shared ? personal : shared, name, response) ||
      !playlist.Write(to_shared ? shared : personal, name, WantsOverwrite(request), response)) {
    return;
  }
  if (to_shared) {
    RestartITunesServiceAndLog();
  }
  AnswerNode(name, to_shared, response);
}
