#include "catalog/playlists.h"
#include "files/temporary_file.h"
#include "playlists/settled_rows.h"
#include "playlists/version.h"
#include "smart/block_scanner.h"
#include "smart/rule_file.h"
#include "system/paths.h"
#include "text/numbers.h"
#include "text/utf8.h"
#include <dirent.h>
#include <limits>
#include <memory>
#include <unordered_set>

namespace vexo::catalog {
namespace {

constexpr std::string_view kSharedNode = "musiclib_music_shared";
constexpr std::string_view kPersonalNode = "musiclib_music_personal";
constexpr std::string_view kListBranch = "/playlist/";
constexpr std::string_view kSmartBranch = "/smart/";
constexpr std::string_view kFileExtension = ".m3u";

struct CloseFolder {
  void operator()(DIR *folder) const { closedir(folder); }
};

std::string NodeId(bool is_personal, std::string_view branch, std::string_view tail) {
  return std::string(is_personal ? kPersonalNode : kSharedNode).append(branch).append(tail);
}

std::string PreferenceLists(const accounts::Account &user) {
  return user.preference_folder + system::kPlaylistsFolder;
}

Playlist OfRow(index::Playlist row) {
  const bool is_personal = row.owner != 0;
  const FileState state = StateOfFile(row.path);
  return {.id = NodeId(is_personal, kListBranch, std::to_string(row.id)),
          .name = std::move(row.title),
          .is_personal = is_personal,
          .path = std::move(row.path),
          .file = state};
}

Playlist OfPreferenceFile(const accounts::Account &user, std::string_view name) {
  const std::string path = PreferenceLists(user).append("/").append(name).append(kFileExtension);
  return {.id = NodeId(true, kListBranch, name),
          .name = std::string(name),
          .is_personal = true,
          .path = path,
          .file = StateOfFile(path)};
}

/// The name of the list that a file of a preference folder is; empty when it is none.
std::string_view ListName(std::string_view file_name) {
  if (!file_name.ends_with(kFileExtension) || files::IsTemporaryName(file_name) ||
      !text::IsUtf8(file_name)) {
    return {};
  }
  return file_name.substr(0, file_name.size() - kFileExtension.size());
}

void AddPreferenceLists(const accounts::Account &user, std::vector<Playlist> &playlists) {
  const std::unique_ptr<DIR, CloseFolder> folder(opendir(PreferenceLists(user).c_str()));
  if (!folder) {
    return;
  }
  while (const dirent *const entry = readdir(folder.get())) {
    const std::string_view name = ListName(entry->d_name);
    if (!name.empty()) {
      playlists.push_back(OfPreferenceFile(user, name));
    }
  }
}

void AddRows(int owner, std::vector<Playlist> &playlists) {
  std::vector<index::Playlist> rows = index::ProcessIndex().AllPlaylists(owner);
  playlists.reserve(playlists.size() + rows.size());
  for (index::Playlist &row : rows) {
    playlists.push_back(OfRow(std::move(row)));
  }
}

Playlist OfBlock(std::string_view rules, const smart::Block &block, Playlist playlist) {
  playlist.kind = PlaylistKind::kSmart;
  playlist.id = SmartId(playlist.is_personal, playlist.name);
  playlist.version = playlists::ContentVersion(smart::BlockText(rules, block));
  return playlist;
}

/// Of two blocks with one name the first is the playlist.
void AddSmart(const accounts::Account &user, bool is_personal, std::vector<Playlist> &playlists) {
  const std::string path = RuleFile(user, is_personal);
  const FileState state = StateOfFile(path);
  const std::string rules = smart::ReadRuleFile(path).value_or("");
  std::unordered_set<std::string> seen;
  smart::BlockScanner scanner(rules);
  while (const std::optional<smart::Block> block = scanner.Next()) {
    std::optional<std::string> name = smart::BlockName(rules, *block);
    if (name && !name->empty() && name->find('/') == std::string::npos &&
        seen.insert(*name).second) {
      playlists.push_back(OfBlock(
          rules, *block,
          {.name = *std::move(name), .is_personal = is_personal, .path = path, .file = state}));
    }
  }
}

Playlist Random() {
  return {.id = std::string(kRandomPlaylist), .name = "Random", .kind = PlaylistKind::kRandom};
}

std::optional<Playlist> FindRowOf(int owner, std::string_view tail) {
  const std::optional<int64_t> id = text::ParseInteger(tail);
  if (!id || *id <= 0 || *id > std::numeric_limits<int32_t>::max() || std::to_string(*id) != tail) {
    return std::nullopt;
  }
  auto rows = playlists::FindSettledRows(owner, {static_cast<int32_t>(*id)});
  return rows.empty() ? std::nullopt : std::optional(OfRow(std::move(rows.front())));
}

std::optional<Playlist> FindPreferenceFile(const accounts::Account &user, std::string_view name) {
  if (ListName(std::string(name).append(kFileExtension)).empty() ||
      name.find('/') != std::string_view::npos) {
    return std::nullopt;
  }
  Playlist playlist = OfPreferenceFile(user, name);
  return playlist.file.is_there ? std::optional(std::move(playlist)) : std::nullopt;
}

std::optional<Playlist> FindList(const accounts::Account &user, bool is_personal,
                                 std::string_view tail) {
  if (is_personal && !user.personal_library) {
    return FindPreferenceFile(user, tail);
  }
  return FindRowOf(is_personal ? user.id : 0, tail);
}

std::optional<Playlist> FindSmart(const accounts::Account &user, bool is_personal,
                                  std::string_view name) {
  const std::string path = RuleFile(user, is_personal);
  const FileState state = StateOfFile(path);
  const std::string rules = smart::ReadRuleFile(path).value_or("");
  const std::optional<smart::Block> block = smart::FindBlock(rules, name);
  if (!block) {
    return std::nullopt;
  }
  return OfBlock(
      rules, *block,
      {.name = std::string(name), .is_personal = is_personal, .path = path, .file = state});
}

/// Takes `start` away from the beginning of `text`; false when it does not stand there.
bool Take(std::string_view &text, std::string_view start) {
  if (!text.starts_with(start)) {
    return false;
  }
  text.remove_prefix(start.size());
  return true;
}

} // namespace

std::vector<Playlist> PlaylistsOf(const accounts::Account &user) {
  std::vector<Playlist> playlists;
  AddRows(0, playlists);
  if (user.personal_library) {
    AddRows(user.id, playlists);
  } else {
    AddPreferenceLists(user, playlists);
  }
  AddSmart(user, false, playlists);
  AddSmart(user, true, playlists);
  playlists.push_back(Random());
  return playlists;
}

std::optional<Playlist> FindPlaylist(const accounts::Account &user, std::string_view node_id) {
  if (node_id == kRandomPlaylist) {
    return Random();
  }
  const bool is_personal = Take(node_id, kPersonalNode);
  if (!is_personal && !Take(node_id, kSharedNode)) {
    return std::nullopt;
  }
  if (Take(node_id, kListBranch)) {
    return FindList(user, is_personal, node_id);
  }
  return Take(node_id, kSmartBranch) && !node_id.empty() ? FindSmart(user, is_personal, node_id)
                                                         : std::nullopt;
}

std::string RuleFile(const accounts::Account &user, bool is_personal) {
  return is_personal ? PreferenceLists(user) + "/smart.playlist" : system::kSharedSmartRules;
}

std::string SmartId(bool is_personal, std::string_view name) {
  return NodeId(is_personal, kSmartBranch, name);
}

} // namespace vexo::catalog
