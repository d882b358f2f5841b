#include "export/archive_lists.h"

#include "export/song_links.h"
#include "model/field_text.h"
#include "model/log_line.h"
#include "vexo/core.h"
#include "vexo/media_index.h"
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <unistd.h>

namespace {

struct FileCloser {
  void operator()(FILE *file) const { fclose(file); }
};

/// One of the playlists in the archive. One that cannot be opened stays unwritten: the songs matter
/// more.
class PlaylistFile {
public:
  explicit PlaylistFile(const char *name) : file_(fopen(name, "we")) {}

  void AddLine(const char *text) {
    if (file_) {
      fprintf(file_.get(), "%s\n", text);
    }
  }

private:
  std::unique_ptr<FILE, FileCloser> file_;
};

/// The list of names, a temporary file in the current directory.
class NameList {
public:
  NameList() : name_("audiofXXXXXX"), file_(mkstemp(name_.data())) {}
  ~NameList() {
    if (IsOpen()) {
      close(file_);
    }
  }
  NameList(const NameList &) = delete;
  NameList &operator=(const NameList &) = delete;

  [[nodiscard]] bool IsOpen() const { return file_ >= 0; }
  [[nodiscard]] const std::string &name() const { return name_; }

  [[nodiscard]] bool AddLine(const std::string &text) {
    const std::string line = text + "\n";
    if (write(file_, line.data(), line.size()) < 1) {
      LOG_LINE("Failed to write temp file");
      return false;
    }
    return true;
  }

private:
  std::string name_;
  int file_;
};

class ArchiveLists {
public:
  [[nodiscard]] bool AddSong(const char *path) {
    if (std::strpbrk(path, "\r\n") != nullptr) {
      LOG_LINE("A song with a line break in its path is left out.");
      return true;
    }
    const std::string name = LinkSongIntoDir(taken_, path);
    return name.empty() || AddName(name);
  }

  /// The playlists come last, when they are complete. Gives the list's name.
  [[nodiscard]] bool Finish(std::string &names) {
    names = names_.name();
    return names_.AddLine("playlist.m3u") && names_.AddLine("playlist.m3u8");
  }

  [[nodiscard]] bool AreOpen() const { return names_.IsOpen(); }

private:
  bool AddName(const std::string &name) {
    char converted[kPathSize] = {};
    if (VLIBCUnicodeStrUTF8ToCP(code_page_, name.c_str(), converted, sizeof(converted)) < 0) {
      LOG_LINE("Failed to covert the string from utf8 to codepage: %s", name.c_str());
      return false;
    }
    local_.AddLine(converted);
    utf8_.AddLine(name.c_str());
    return names_.AddLine(name);
  }

  PlaylistFile local_{"playlist.m3u"};
  PlaylistFile utf8_{"playlist.m3u8"};
  int code_page_ = VEXOIndexCodePageGet();
  NameList names_;
  TakenNumbers taken_;
};

} // namespace

bool WriteArchiveLists(const VEXOPlaylistRec *songs, std::string &names) {
  ArchiveLists lists;
  if (!lists.AreOpen()) {
    LOG_LINE("Failed to create a temp file.");
    return false;
  }
  for (; songs != nullptr; songs = songs->next) {
    if (!lists.AddSong(songs->info.path)) {
      return false;
    }
  }
  return lists.Finish(names);
}
