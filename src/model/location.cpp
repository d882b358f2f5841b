#include "model/location.h"

#include "model/field_text.h"
#include "vexo/users.h"
#include <climits>
#include <cstdlib>
#include <cstring>

namespace {
constexpr std::size_t kLongestName = 250;
} // namespace

const char *PlaylistLocation::Library() const { return IsShared() ? "shared" : "personal"; }

PlaylistLocation LocationOfUser(const WebMan &request) {
  PlaylistLocation location;
  location.user = request.GetLoginUserName();
  location.user_id = GetUserIdFromName(location.user.c_str());
  return location;
}

StorageKind StorageKindOf(bool is_personal, const std::string &user) {
  if (!is_personal) {
    return StorageKind::kShared;
  }
  return IsPersonalLibEnabled(user.c_str()) != 0 ? StorageKind::kPersonalLibrary
                                                 : StorageKind::kPreferenceFolder;
}

std::string PlaylistsFolder(const std::string &root) {
  return CutToField(root + "/playlists", kPathSize);
}

std::string PlaylistFilePath(const std::string &root, const std::string &name) {
  return CutToField(root + "/playlists/" + name + ".m3u", kPathSize);
}

std::string FolderOf(const std::string &path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "" : path.substr(0, slash);
}

std::string PersonalSmartRules(const WebMan &request) {
  return CutToField(request.GetPreferenceDir() + "/playlists/smart.playlist", kPathSize);
}

std::string ResolvedPath(const std::string &path) {
  char resolved[PATH_MAX];
  return realpath(path.c_str(), resolved) == nullptr ? path : resolved;
}

bool IsNameTooLong(const char *name) { return std::strlen(name) > kLongestName; }
