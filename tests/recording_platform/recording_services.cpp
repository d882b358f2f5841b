#include "recording_platform/recording_host.h"
#include "vexo/core.h"
#include "vexo/itunes.h"
#include <cstring>

using recording::Scripted;
using recording::Show;
using recording::TheHost;

struct VLIBCSzList {
  std::vector<std::string> texts;
};
struct iTunesPLNode {};

namespace {

std::string Show(const VLIBCSzList *list) {
  std::string text;
  for (const std::string &piece : list->texts) {
    text += (text.empty() ? "" : ", ") + recording::Show(piece.c_str());
  }
  return "[" + text + "]";
}

std::string Show(const iTunesPlaylist *playlist) {
  return std::string("playlist ") + playlist->name;
}

} // namespace

PSZLIST VLIBCSzListAlloc(int size) {
  TheHost().Record("VLIBCSzListAlloc", {Show(size)});
  if (TheHost().Result("VLIBCSzListAlloc", 1) == 0) {
    return nullptr;
  }
  ++TheHost().open_lists;
  return new VLIBCSzList;
}

void VLIBCSzListFree(PSZLIST list) {
  TheHost().Record("VLIBCSzListFree", {});
  --TheHost().open_lists;
  delete list;
}

/// Moves the list, as a host may that has to make room.
int VLIBCStrSep(const char *text, const char *separator, PSZLIST *list) {
  TheHost().Record("VLIBCStrSep", {Show(text), Show(separator)});
  auto *moved = new VLIBCSzList;
  const std::string whole = text;
  for (std::size_t begin = 0; begin < whole.size();) {
    const std::size_t end = std::min(whole.find(separator, begin), whole.size());
    if (end > begin) {
      moved->texts.push_back(whole.substr(begin, end - begin));
    }
    begin = end + std::strlen(separator);
  }
  delete *list;
  *list = moved;
  return static_cast<int>(moved->texts.size());
}

int VLIBCStrTrimSpace(char *text, int mode) {
  TheHost().Record("VLIBCStrTrimSpace", {Show(text), Show(mode)});
  const std::string whole = text;
  const std::size_t first = whole.find_first_not_of(" \t\r\n");
  const std::size_t last = whole.find_last_not_of(" \t\r\n");
  const std::string kept = first == std::string::npos ? "" : whole.substr(first, last - first + 1);
  std::memcpy(text, kept.c_str(), kept.size() + 1);
  return TheHost().Result("VLIBCStrTrimSpace", 0);
}

int VLIBCCodePageGet(int which, int *code_page) {
  TheHost().Record("VLIBCCodePageGet", {Show(which)});
  *code_page = 1252;
  return TheHost().Result("VLIBCCodePageGet", 0);
}

/// Without a scripted text the bytes stay as they are.
int VLIBCUnicodeStrUTF8ToCP(int code_page, const char *utf8, char *buffer, int size) {
  const std::string name = "VLIBCUnicodeStrUTF8ToCP";
  TheHost().Record(name, {Show(code_page), Show(utf8), Show(size)});
  std::snprintf(buffer, static_cast<std::size_t>(size), "%s", utf8);
  TheHost().Fill(name, buffer, size);
  return TheHost().Result(name, static_cast<int>(std::strlen(buffer)));
}

int VLIBCExec(const char *path, const char *arg1, const char *arg2, const char *arg3,
              const char *arg4) {
  return Scripted("VLIBCExec", {Show(path), Show(arg1), Show(arg2), Show(arg3), Show(arg4)});
}

int VEXOLogSet1(int kind, int level, unsigned event, const char *text, const char *a, const char *b,
                const char *c) {
  return Scripted("VEXOLogSet1",
                  {Show(kind), Show(level), Show(event), Show(text), Show(a), Show(b), Show(c)});
}

int VEXOAudioConfGet(const char *key, char *buffer, int size) {
  TheHost().Record("VEXOAudioConfGet", {Show(key), Show(size)});
  const auto found = TheHost().texts.find(key);
  if (found == TheHost().texts.end()) {
    return 0;
  }
  TheHost().Fill(key, buffer, size);
  return static_cast<int>(found->second.size()) + 1;
}

int iTunesPlaylistGetByFilename(const char *file, const char *name, iTunesPlaylist *playlist) {
  const int result = Scripted("iTunesPlaylistGetByFilename", {Show(file), Show(name)});
  if (result >= 0) {
    std::snprintf(playlist->name, sizeof(playlist->name), "%s", name);
    playlist->nodes = new iTunesPLNode;
    ++TheHost().open_rules;
  }
  return result;
}

int iTunesPlaylistSetByFilename(const char *file, const char *name,
                                const iTunesPlaylist *playlist) {
  return Scripted("iTunesPlaylistSetByFilename", {Show(file), Show(name), Show(playlist)});
}

int IsiTunesPlaylistExistByFilename(const char *file, const char *name) {
  return Scripted("IsiTunesPlaylistExistByFilename", {Show(file), Show(name)});
}

int iTunesPlaylistDeleteByFilename(const char *file, PSZLIST names) {
  return Scripted("iTunesPlaylistDeleteByFilename", {Show(file), Show(names)});
}

void iTunesPLNodesFree(iTunesPLNode *nodes) {
  TheHost().Record("iTunesPLNodesFree", {});
  --TheHost().open_rules;
  delete nodes;
}

int iTunesServiceCheckAndReStart() { return Scripted("iTunesServiceCheckAndReStart", {}); }
