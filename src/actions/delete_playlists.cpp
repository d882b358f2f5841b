#include "actions/delete_playlists.h"

#include "handler/audio_playlist.h"
#include "model/answer.h"
#include "model/device_paths.h"
#include "model/field_text.h"
#include "model/location.h"
#include "model/log_line.h"
#include "model/node_id.h"
#include "model/playlist_rows.h"
#include "vexo/itunes.h"
#include <cstring>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr unsigned kPlaylistsRemoved = 0x13200003; ///< event of the administrative log
constexpr int kNameListSize = 1024;
constexpr std::size_t kNameFieldSize = 255;

struct RuleNamesDeleter {
  void operator()(PSZLIST list) const { VLIBCSzListFree(list); }
};
using RuleNames = std::unique_ptr<VLIBCSzList, RuleNamesDeleter>;

/// A list of ids has one library, told by its beginning.
bool IsSharedList(const char *ids) { return std::strncmp(ids, "musiclib_music_shared", 21) == 0; }

/// Unlinks the files of playlists that have no rows. A missing file is no error.
bool DeleteFiles(const WebMan &request, const char *ids, Json::Value &response) {
  const std::vector<std::string> elements = WebUtils::StringExplode(ids, ",");
  if (elements.empty()) {
    return LOG_AND_FAIL(response, "Bad parameter.");
  }
  const std::string root = request.GetPreferenceDir();
  for (const std::string &element : elements) {
    const std::size_t slash = element.rfind('/');
    if (slash == std::string::npos) {
      LOG_LINE("%s is wrong id", element.c_str());
      continue;
    }
    unlink(PlaylistFilePath(root, element.substr(slash + 1)).c_str());
  }
  return true;
}

/// Removes files and rows of playlists, all of them together.
bool DeleteRows(const PlaylistLocation &location, const char *ids, PlaylistRows &rows,
                Json::Value &response) {
  std::string id_list;
  if (!BuildPlaylistIdList(ids, id_list, 2)) {
    return LOG_AND_FAIL(response, "Bad parameter.");
  }
  if (LookUpRows(location.Library(), location.user_id, id_list.c_str(), rows) != 0) {
    return LOG_AND_FAIL(response, "Failed to get music list.");
  }
  if (VEXOPlayListUnlink(location.Library(), rows.get()) != 0) {
    return LOG_AND_FAIL(response, "Failed to delete playlists");
  }
  return true;
}

bool DeleteNormalPlaylists(const WebMan &request, const char *ids, PlaylistRows &rows,
                           Json::Value &response) {
  PlaylistLocation location = LocationOfUser(request);
  location.kind = StorageKindOf(!IsSharedList(ids), location.user);
  return location.HasRow() ? DeleteRows(location, ids, rows, response)
                           : DeleteFiles(request, ids, response);
}

/// The names of the playlists, comma-separated. A name that holds a comma is split there.
std::string JoinedNames(const std::vector<std::string> &ids) {
  std::string names;
  for (const std::string &id : ids) {
    const std::string name = IdTail(id.c_str(), 2);
    names += CutToField(names.empty() ? name : "," + name, kNameFieldSize);
  }
  return names;
}

bool DeleteNames(const std::string &rules, const std::string &names) {
  RuleNames list(VLIBCSzListAlloc(kNameListSize));
  if (list == nullptr) {
    LOG_LINE("out of memory!!");
    return false;
  }
  PSZLIST filled = list.release();
  VLIBCStrSep(names.c_str(), ",", &filled);
  list.reset(filled);
  if (iTunesPlaylistDeleteByFilename(rules.c_str(), list.get()) < 0) {
    LOG_LINE("iTunesPlaylistDelete() failed; pszCurList = [%p]\n", static_cast<void *>(list.get()));
    return false;
  }
  return true;
}

void Run(const WebMan &request, PlaylistRows &rows, Json::Value &response) {
  const char *normal = request.In("playlists", nullptr);
  const char *smart = request.In("smartPlaylists", nullptr);
  if (normal == nullptr && smart == nullptr) {
    LOG_AND_FAIL(response, "Bad parameter.");
    return;
  }
  if (normal != nullptr && !DeleteNormalPlaylists(request, normal, rows, response)) {
    return;
  }
  // The reason of a failure here is in the system log only; the response stays empty.
  if (smart != nullptr && !DeleteSmartPlaylists(request, smart, !IsSharedList(smart))) {
    return;
  }
  ActionHandler::SetSuccess(response, true);
  if (normal != nullptr) {
    response["playlists"] = normal;
  }
  if (smart != nullptr) {
    response["smartPlaylists"] = smart;
  }
}

} // namespace

void PlaylistHandler::HandleDelete() {
  Json::Value response;
  PlaylistRows rows;
  Run(Request(), rows, response);
  rows.reset();
  PrintAnswer(response);
}

bool BuildPlaylistIdList(const char *ids, std::string &out, int tail_mode) {
  if (ids == nullptr || ids[0] == '\0') {
    return false;
  }
  const std::vector<std::string> elements = WebUtils::StringExplode(ids, ",");
  for (const std::string &element : elements) {
    out += (out.empty() ? "" : ",") +
           std::to_string(LeadingNumber(IdTail(element.c_str(), tail_mode)));
  }
  return !elements.empty();
}

bool DeleteSmartPlaylists(const WebMan &request, const char *ids, bool personal) {
  const std::string rules = personal ? PersonalSmartRules(request) : kSharedSmartRules;
  struct stat status {};
  if (stat(rules.c_str(), &status) != 0) {
    LOG_LINE("smart playlist file not exist. %s", rules.c_str());
    return false;
  }
  if (ids == nullptr || ids[0] == '\0') {
    return false;
  }
  const std::vector<std::string> elements = WebUtils::StringExplode(ids, ",");
  if (elements.empty() || !DeleteNames(rules, JoinedNames(elements))) {
    return false;
  }
  if (!personal) {
    RestartITunesServiceAndLog();
  }
  return true;
}

bool RestartITunesServiceAndLog() {
  if (iTunesServiceCheckAndReStart() < 0) {
    LOG_LINE("iTunesServiceCheckAndReStart() failed");
    return false;
  }
  VEXOLogSet1(2, 1, kPlaylistsRemoved, "remove playlist(s)", "", "", "");
  return true;
}
