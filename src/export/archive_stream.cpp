#include "export/archive_stream.h"

#include "export/download_headers.h"
#include "export/song_links.h"
#include "export/working_folder.h"
#include "model/answer.h"
#include "model/device_paths.h"
#include "model/field_text.h"
#include "model/log_line.h"
#include "vexo/core.h"
#include "vexo/media_index.h"
#include <csignal>
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

/// Fills the working folder, an empty one: a link a song, "playlist.m3u" in the code page of the
/// index, "playlist.m3u8" in UTF-8, and a list of all names for the zip tool, whose own name is put
/// into `names`. False: failed and logged.
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

struct PipeCloser {
  void operator()(FILE *stream) const { pclose(stream); }
};
using Pipe = std::unique_ptr<FILE, PipeCloser>;

std::string ZipCommand(const std::string &names) {
  return std::string(kCatTool) + " " + names + " | " + kZipTool + " -q -0 -G -r  -@ - ";
}

/// A server ends its program when the client is gone; this one ends by itself, and cleans up.
void IgnoreTermination() {
  if (signal(SIGTERM, SIG_IGN) == SIG_ERR) {
    LOG_LINE("Failed to signal()");
  }
}

bool SendStream(const std::string &command, const ArchiveOffer &offer, Json::Value &response) {
  const Pipe stream(popen(command.c_str(), "r"));
  if (!stream) {
    LOG_LINE("Failed to open pipe %s", command.c_str());
    ActionHandler::SetError(response, "error", "error_system_busy", __LINE__);
    return false;
  }
  PrintDownloadHeaders(&offer.browser, offer.file_name.c_str());
  return HTTPFileOutputer::Output(stream.get(), offer.file_name.c_str(), offer.content_type) == 0;
}

} // namespace

bool SendArchive(const VEXOPlaylistRec *songs, const ArchiveOffer &offer, Json::Value &response) {
  const WorkingFolder folder;
  if (!folder.IsMade()) {
    return LOG_AND_FAIL(response, "Failed to create a temp directory.");
  }
  std::string names;
  if (!WriteArchiveLists(songs, names)) {
    return SystemError(response);
  }
  IgnoreTermination();
  return SendStream(ZipCommand(names), offer, response);
}
