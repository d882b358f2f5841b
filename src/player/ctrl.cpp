#include "player/ctrl.h"

#include "model/device_paths.h"
#include "vexo/core.h"
#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <memory>
#include <span>
#include <strings.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr const char *kTag = "ctrl.c";
constexpr time_t kTimeoutSeconds = 10;

/// Closes a connection, unless it is descriptor 0, which is never taken for an open one.
class Connection {
public:
  explicit Connection(int descriptor) : descriptor_(descriptor) {}
  ~Connection() {
    if (descriptor_ != 0) {
      close(descriptor_);
    }
  }
  Connection(const Connection &) = delete;
  Connection &operator=(const Connection &) = delete;

private:
  int descriptor_;
};

/// A set of one descriptor for select(). An fd_set ends at FD_SETSIZE; the kernel reads as far as
/// the descriptor asks for, so the set is made long enough for it.
class DescriptorSet {
public:
  explicit DescriptorSet(int descriptor)
      : word_(static_cast<std::size_t>(descriptor) / NFDBITS), bit_(descriptor % NFDBITS),
        words_(std::max(word_ + 1, sizeof(fd_set) / sizeof(fd_mask))) {
    words_[word_] = Mask();
  }
  fd_set *get() { return reinterpret_cast<fd_set *>(words_.data()); }
  [[nodiscard]] bool Holds() const { return (words_[word_] & Mask()) != 0; }

private:
  [[nodiscard]] fd_mask Mask() const {
    return static_cast<fd_mask>(static_cast<unsigned long>(1) << bit_);
  }

  std::size_t word_;
  int bit_;
  std::vector<fd_mask> words_;
};

sockaddr_un SocketAddress() {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  snprintf(address.sun_path, sizeof address.sun_path, "%s", kPlayerSocket);
  return address;
}

bool WaitWritable(int connection) {
  DescriptorSet writable(connection);
  timeval timeout{kTimeoutSeconds, 0};
  if (select(connection + 1, nullptr, writable.get(), nullptr, &timeout) <= 0) {
    return false;
  }
  if (!writable.Holds()) {
    syslog(LOG_ERR, "%s:%d socket is unwritable", kTag, __LINE__);
    return false;
  }
  return true;
}

bool WaitReadable(int connection) {
  DescriptorSet readable(connection);
  timeval timeout{kTimeoutSeconds, 0};
  return select(connection + 1, readable.get(), nullptr, nullptr, &timeout) > 0;
}

/// One command and its reply on a connection that stands. 0 or -1.
int Converse(int connection, const PlayerCommand *command, char *reply, std::size_t reply_size) {
  if (!WaitWritable(connection)) {
    return -1;
  }
  // A write() to a daemon that has hung up would end the process by SIGPIPE.
  if (send(connection, command, sizeof *command, MSG_NOSIGNAL) != sizeof *command) {
    syslog(LOG_ERR, "%s:%d Failed to send command.", kTag, __LINE__);
    return -1;
  }
  if (!WaitReadable(connection)) {
    return -1;
  }
  memset(reply, 0, reply_size);
  if (read(connection, reply, reply_size) <= 0) {
    syslog(LOG_ERR, "%s:%d Failed to read action [%s]", kTag, __LINE__, strerror(errno));
    return -1;
  }
  return 0;
}

struct FileCloser {
  void operator()(FILE *file) const { fclose(file); }
};

using Extensions = std::span<const char *const>;

Extensions PlayableExtensions(int type) {
  static constexpr const char *kType2[] = {"mp3", "m4a", "m4b"};
  static constexpr const char *kType3[] = {"aac", "aif", "aiff", "ape", "flac", "m4a",
                                           "m4b", "mp3", "ogg",  "wav", "wma"};
  static constexpr const char *kOther[] = {"mp3",  "m4a", "ogg", "aac", "wma", "flac",
                                           "aiff", "aif", "mp1", "mp2", "mpa", "wav",
                                           "ac3",  "ra",  "ram", "m4p", "m4b", "ape"};
  switch (type) {
  case 2:
    return kType2;
  case 3:
    return kType3;
  default:
    return kOther;
  }
}

/// Copies settings, trimmed. 1 or -1.
int CopySettings(const char *settings, char *value, int value_size) {
  snprintf(value, static_cast<std::size_t>(value_size), "%s", settings);
  if (VLIBCStrTrimSpace(value, 0) < 0) {
    syslog(LOG_ERR, "%s:%d Failed to trim [%s].", kTag, __LINE__, value);
    return -1;
  }
  return 1;
}

/// Compares one line of a profile file. 1: it is the profile, and `value` has its settings, 0: it
/// is another one, -1: failed.
int MatchProfile(const char *line, const char *name, char *value, int value_size) {
  const char *colon = strrchr(line, ':');
  if (colon == nullptr) {
    syslog(LOG_ERR, "%s:%d The EQ profile [%s] is illegal.", kTag, __LINE__, line);
    return -1;
  }
  if (strncmp(line, name, static_cast<std::size_t>(colon - line)) != 0) {
    return 0;
  }
  return CopySettings(colon + 1, value, value_size);
}

int SendCode(int32_t code) { return PlayerCommandSendOnly({code, {}}); }

int SendNumber(int32_t code, int value) {
  return PlayerCommandSendOnly(PlayerCommandPrint(code, "%d", value));
}

} // namespace

PlayerCommand PlayerCommandPrint(int32_t code, const char *format, ...) {
  PlayerCommand command{code, {}};
  va_list values;
  va_start(values, format);
  vsnprintf(command.argument, sizeof command.argument, format, values);
  va_end(values);
  return command;
}

int PlayerCommandSend(const PlayerCommand *command, char *reply, int reply_size) {
  if (reply == nullptr || reply_size <= 0) {
    syslog(LOG_ERR, "%s:%d Bad parameter", kTag, __LINE__);
    return -1;
  }
  const int connection = socket(AF_UNIX, SOCK_STREAM, 0);
  if (connection < 0) {
    return -1;
  }
  const sockaddr_un address = SocketAddress();
  const int connected =
      connect(connection, reinterpret_cast<const sockaddr *>(&address), sizeof address);
  if (connected < 0) {
    syslog(LOG_ERR, "%s:%d Failed to connect to %s. [%s]", kTag, __LINE__, kPlayerSocket,
           strerror(errno));
    close(connection);
    return connected;
  }
  const Connection owner(connection);
  return Converse(connection, command, reply, static_cast<std::size_t>(reply_size));
}

int PlayerCommandSendOnly(const PlayerCommand &command) {
  char reply[8192];
  return PlayerCommandSend(&command, reply, sizeof reply);
}

int PlayerControl1() { return SendCode(1); }
int PlayerControl2() { return SendCode(2); }
int PlayerControl3() { return SendCode(3); }
int PlayerControl4() { return SendCode(4); }
int PlayerControl5() { return SendCode(5); }
int PlayerControl6() { return SendCode(6); }
int PlayerControl7() { return SendCode(7); }
int PlayerControl8(int value) { return SendNumber(8, value); }
int PlayerControl9(int value) { return SendNumber(9, value); }
int PlayerControl10() { return SendCode(10); }
int PlayerControl11(int value) { return SendNumber(11, value); }
int PlayerControl12() { return SendCode(12); }
int PlayerControl13() { return SendCode(13); }
int PlayerControl16() { return SendCode(16); }
int PlayerControl31() { return SendCode(31); }
int PlayerControl32() { return SendCode(32); }
int PlayerControl34() { return SendCode(34); }
int PlayerControl35(int value) { return SendNumber(35, value); }
int PlayerControl36() { return SendCode(36); }
int PlayerControl37() { return SendCode(37); }
int PlayerControl39(int value) { return SendNumber(39, value); }

int PlayerControl38(const float values[10]) {
  return PlayerCommandSendOnly(PlayerCommandPrint(
      38, "%3.1f %3.1f %3.1f %3.1f %3.1f %3.1f %3.1f %3.1f %3.1f %3.1f", values[0], values[1],
      values[2], values[3], values[4], values[5], values[6], values[7], values[8], values[9]));
}

int IsPlayableFile(int type, const char *path) {
  if (type == 0) {
    return 1;
  }
  if (path == nullptr) {
    return 0;
  }
  if (strncmp(path, "http", 4) == 0) {
    return 1;
  }
  const char *dot = strrchr(path, '.');
  if (dot == nullptr) {
    return 0;
  }
  const Extensions extensions = PlayableExtensions(type);
  const auto is_it = [dot](const char *extension) { return strcasecmp(dot + 1, extension) == 0; };
  return std::any_of(extensions.begin(), extensions.end(), is_it) ? 1 : 0;
}

int EqualizerProfileFind(const char *profile_path, const char *name, char *value, int value_size) {
  const std::unique_ptr<FILE, FileCloser> file(fopen(profile_path, "r"));
  if (file == nullptr) {
    return -1;
  }
  char line[1024];
  while (fgets(line, sizeof line, file.get()) != nullptr) {
    const int matched = MatchProfile(line, name, value, value_size);
    if (matched != 0) {
      return matched;
    }
  }
  return 0;
}

int EqualizerDefaultProfileGet(char *value, int value_size) {
  char enabled[1024];
  char name[1024];
  if (VEXOAudioConfGet("audio_enable_equalizer", enabled, sizeof enabled) <= 0 ||
      strcmp(enabled, "yes") != 0) {
    return 0;
  }
  if (VEXOAudioConfGet("audio_default_equalizer", name, sizeof name) <= 0) {
    return 0;
  }
  const int found = EqualizerProfileFind(kSystemEqualizer, name, value, value_size);
  if (found < 0) {
    syslog(LOG_ERR, "%s:%d Failed to open the system EQ profile [%s].", kTag, __LINE__,
           kSystemEqualizer);
  }
  return found != 0 ? found : EqualizerProfileFind(kUserEqualizer, name, value, value_size);
}
