#include "catalog/players.h"
#include "catalog/libraries.h"
#include "catalog/list_entries.h"
#include "catalog/smart_lists.h"
#include "files/file_io.h"
#include "index/media_index.h"
#include "playlists/playlist_text.h"
#include "system/config.h"
#include "system/log.h"
#include "system/paths.h"
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <string_view>
#include <strings.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>
#include <unordered_map>

namespace vexo::catalog {
namespace {

/// Beyond the time after which the daemon itself gives up on a player.
constexpr timeval kAnswerTime{12, 0};

using Record = std::array<char, system::kPlayerRecordSize>;

Record MakeRecord(system::PlayerCommand command, std::initializer_list<int64_t> arguments) {
  std::string text;
  for (const int64_t argument : arguments) {
    text.append(text.empty() ? "" : " ").append(std::to_string(argument));
  }
  Record record{};
  memcpy(record.data(), &command, sizeof command);
  text.copy(record.data() + sizeof command, record.size() - sizeof command - 1);
  return record;
}

/// The songs' lines, in a memory file that nobody can change any more.
files::FileDescriptor MemoryFile(const std::vector<std::string> &songs) {
  std::string lines;
  for (const std::string &song : songs) {
    lines.append(song).append("\n");
  }
  files::FileDescriptor file(memfd_create("songs", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  if (!file || !files::WriteAll(file.get(), lines) ||
      fcntl(file.get(), F_ADD_SEALS, F_SEAL_WRITE | F_SEAL_SHRINK | F_SEAL_GROW) != 0) {
    throw std::system_error(errno, std::generic_category(), "a memory file for songs");
  }
  return file;
}

files::FileDescriptor Connect() {
  constexpr std::string_view kPath = system::kPlayerSocket;
  files::FileDescriptor daemon(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  static_assert(kPath.size() < sizeof address.sun_path, "DEVICE_ROOT is too long");
  address.sun_family = AF_UNIX;
  kPath.copy(address.sun_path, sizeof address.sun_path - 1);
  setsockopt(daemon.get(), SOL_SOCKET, SO_RCVTIMEO, &kAnswerTime, sizeof kAnswerTime);
  setsockopt(daemon.get(), SOL_SOCKET, SO_SNDTIMEO, &kAnswerTime, sizeof kAnswerTime);
  if (connect(daemon.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
    return files::FileDescriptor();
  }
  return daemon;
}

bool Send(const files::FileDescriptor &daemon, Record record, const files::FileDescriptor &file) {
  iovec piece{record.data(), record.size()};
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
  msghdr message{};
  message.msg_iov = &piece;
  message.msg_iovlen = 1;
  if (file) {
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    cmsghdr *const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof(int));
    const int descriptor = file.get();
    memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
  }
  return sendmsg(daemon.get(), &message, MSG_NOSIGNAL) == static_cast<ssize_t>(record.size());
}

std::vector<std::string> PathsOf(std::vector<index::Song> songs) {
  std::vector<std::string> paths;
  paths.reserve(songs.size());
  for (index::Song &song : songs) {
    paths.push_back(std::move(song.path));
  }
  return paths;
}

std::vector<std::string> PathsOfRule(const accounts::Account &user, const Playlist &playlist) {
  const std::optional<std::string> block = ReadBlock(playlist);
  if (!block) {
    return {};
  }
  const std::variant<smart::SmartPlaylist, RuleError> rule = ParseRule(RuleText(*block));
  if (const RuleError *error = std::get_if<RuleError>(&rule)) {
    throw playlists::UnreadableError(error->what);
  }
  return PathsOf(
      SongsOfRule(user, playlist.is_personal, std::get<smart::SmartPlaylist>(rule), 0, kMostPlayed)
          .songs);
}

std::vector<std::string> PathsOfList(const accounts::Account &user, const Playlist &playlist) {
  std::vector<std::string> paths;
  std::optional<std::string> bytes = ReadList(playlist);
  if (!bytes) {
    return paths;
  }
  List list(*std::move(bytes), playlist.path);
  std::vector<ListEntry> entries = list.Entries(0, kMostPlayed);
  const SongsAtPaths songs(user, entries);
  for (ListEntry &entry : entries) {
    const bool is_played =
        entry.is_stream ? ComesByNetwork(entry.path) : songs.Find(entry.path) != nullptr;
    paths.push_back(is_played ? std::move(entry.path) : std::string());
  }
  return paths;
}

/// The songs of the ids that the user sees, in no order.
std::vector<index::Song> SongsSeen(const accounts::Account &user, const std::vector<int32_t> &ids) {
  std::vector<index::Song> seen;
  for (const Library &library : LibrariesOf(user)) {
    std::ranges::move(index::ProcessIndex().SongsById(library.owner, ids),
                      std::back_inserter(seen));
  }
  return seen;
}

} // namespace

std::vector<Player> ConfiguredPlayers() {
  std::vector<Player> players;
  for (const std::string &section : system::Sections(system::kPlayerSections)) {
    if (const std::optional<int> number = system::PlayerNumber(section)) {
      const std::string usual =
          *number == system::kUsbPlayer ? "USB" : "Player " + std::to_string(*number);
      players.push_back({*number, system::Setting(section, "name").value_or(usual)});
    }
  }
  return players;
}

PlayerQuestion::PlayerQuestion(system::PlayerCommand command,
                               std::initializer_list<int64_t> arguments,
                               const std::vector<std::string> *songs)
    : daemon_(Connect()) {
  const files::FileDescriptor file =
      songs == nullptr ? files::FileDescriptor() : MemoryFile(*songs);
  is_sent_ = daemon_ && Send(daemon_, MakeRecord(command, arguments), file);
}

std::optional<std::string> PlayerQuestion::Answer() {
  std::string reply(system::kPlayerReplyLimit, '\0');
  const ssize_t size = is_sent_ ? recv(daemon_.get(), reply.data(), reply.size(), 0) : -1;
  if (size <= 0) {
    system::LogFailure("the player daemon does not answer",
                       size == 0 ? "no answer" : strerror(errno));
    return std::nullopt;
  }
  reply.resize(static_cast<std::size_t>(size));
  return reply;
}

std::vector<std::string> PathsOfSongs(const accounts::Account &user,
                                      const std::vector<int32_t> &ids) {
  std::unordered_map<int32_t, std::string> paths;
  for (index::Song &song : SongsSeen(user, ids)) {
    paths.emplace(song.id, std::move(song.path));
  }
  std::vector<std::string> in_order;
  in_order.reserve(ids.size());
  for (const int32_t id : ids) {
    const auto path = paths.find(id);
    in_order.push_back(path == paths.end() ? std::string() : path->second);
  }
  return in_order;
}

bool ComesByNetwork(std::string_view address) {
  constexpr std::array<std::string_view, 11> kSchemes = {
      "http", "https", "mms", "mmsh", "mmst", "mmsu", "rtmp", "rtmps", "rtmpt", "rtp", "rtsp"};
  const std::string_view scheme = address.substr(0, address.find(':'));
  return std::ranges::any_of(kSchemes, [scheme](std::string_view known) {
    return scheme.size() == known.size() &&
           strncasecmp(scheme.data(), known.data(), known.size()) == 0;
  });
}

std::vector<std::string> PathsOfPlaylist(const accounts::Account &user, const Playlist &playlist) {
  switch (playlist.kind) {
  case PlaylistKind::kSmart:
    return PathsOfRule(user, playlist);
  case PlaylistKind::kRandom:
    return PathsOf(index::ProcessIndex().RandomSongs(0, kRandomSongs));
  case PlaylistKind::kList:
    break;
  }
  return PathsOfList(user, playlist);
}

std::set<int32_t> VisibleSongs(const accounts::Account &user, const std::vector<int32_t> &ids) {
  std::set<int32_t> visible;
  for (const index::Song &song : SongsSeen(user, ids)) {
    visible.insert(song.id);
  }
  return visible;
}

} // namespace vexo::catalog
