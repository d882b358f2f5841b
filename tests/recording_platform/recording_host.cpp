#include "recording_platform/recording_host.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace recording {
namespace {

std::unique_ptr<Host> &Slot() {
  static std::unique_ptr<Host> host = std::make_unique<Host>();
  return host;
}

std::string Compact(const Json::Value &document) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  builder["emitUTF8"] = true;
  return Json::writeString(builder, document);
}

std::string Joined(const std::vector<std::string> &parts) {
  std::string text;
  for (const std::string &part : parts) {
    text += (text.empty() ? "" : ", ") + part;
  }
  return text;
}

void AddField(std::vector<std::string> &fields, const char *name, const char *value) {
  if (value[0] != '\0') {
    fields.push_back(name + ("=" + Show(value)));
  }
}

void AddField(std::vector<std::string> &fields, const char *name, double value) {
  if (value != 0) {
    fields.push_back(name + ("=" + Compact(value)));
  }
}

void AddField(std::vector<std::string> &fields, const char *name, uint64_t value) {
  if (value != 0) {
    fields.push_back(name + ("=" + std::to_string(value)));
  }
}

void AddField(std::vector<std::string> &fields, const char *name, int32_t value) {
  if (value != 0) {
    fields.push_back(name + ("=" + std::to_string(value)));
  }
}

} // namespace

Host &TheHost() { return *Slot(); }

void ResetHost() { Slot() = std::make_unique<Host>(); }

int Scripted(const std::string &name, const std::vector<std::string> &arguments) {
  TheHost().Record(name, arguments);
  return TheHost().Result(name, 0);
}

Host::~Host() {
  for (VEXOPlaylistRec *node : lent) {
    std::free(node);
  }
}

std::vector<std::string> Host::Effects() const {
  static const std::vector<std::string> questions = {"In", "GetLoginUserName", "GetPreferenceDir",
                                                     "IsPersonalLibEnabled"};
  std::vector<std::string> found;
  for (const Event &event : events) {
    if (std::find(questions.begin(), questions.end(), event.name) == questions.end()) {
      found.push_back(event.text);
    }
  }
  return found;
}

std::vector<std::string> Host::Calls(const std::string &name) const {
  std::vector<std::string> found;
  for (const Event &event : events) {
    if (event.name == name) {
      found.push_back(event.text);
    }
  }
  return found;
}

std::vector<std::string> Host::Messages() const {
  std::vector<std::string> found;
  found.reserve(log.size());
  for (const LogLine &line : log) {
    found.push_back(line.message);
  }
  return found;
}

std::string Host::AnswerText() const {
  if (answers.size() != 1) {
    return std::to_string(answers.size()) + " answers";
  }
  return Compact(answers.front().document);
}

void Host::Record(const std::string &name, const std::vector<std::string> &arguments) {
  const Event event{name, name + "(" + Joined(arguments) + ")"};
  events.push_back(event);
  const auto hook = on.find(name);
  if (hook != on.end()) {
    hook->second(event);
  }
}

int Host::Result(const std::string &name, int fallback) {
  const auto found = results.find(name);
  if (found == results.end() || found->second.empty()) {
    return fallback;
  }
  const int result = found->second.front();
  if (found->second.size() > 1) {
    found->second.pop_front();
  }
  return result;
}

VEXOPlaylistRec *Host::SongList(const std::string &name) {
  VEXOPlaylistRec *head = nullptr;
  VEXOPlaylistRec **link = &head;
  for (const __tag_VEXO_MEDIA_INFO &record : records[name]) {
    auto *node = static_cast<VEXOPlaylistRec *>(std::calloc(1, sizeof(VEXOPlaylistRec)));
    if (node == nullptr) {
      std::abort();
    }
    node->info = record;
    lent.insert(node);
    *link = node;
    link = &node->next;
  }
  return head;
}

void Host::Fill(const std::string &name, char *buffer, int size) const {
  const auto found = texts.find(name);
  if (found != texts.end() && size > 0) {
    const std::size_t length = std::min(found->second.size(), static_cast<std::size_t>(size) - 1);
    std::memcpy(buffer, found->second.data(), length);
    buffer[length] = '\0';
  }
}

__tag_VEXO_MEDIA_INFO Song(int id, const std::string &path, const std::string &title) {
  __tag_VEXO_MEDIA_INFO song{};
  song.id = id;
  path.copy(song.path, sizeof(song.path) - 1);
  title.copy(song.title, sizeof(song.title) - 1);
  return song;
}

std::string Show(const char *text) {
  return text == nullptr ? "null" : '"' + std::string(text) + '"';
}

std::string Show(long number) { return std::to_string(number); }

std::string Show(const __tag_VEXO_MEDIA_INFO *record) {
  if (record == nullptr) {
    return "null";
  }
  std::vector<std::string> fields;
  AddField(fields, "id", record->id);
  AddField(fields, "path", record->path);
  AddField(fields, "track", record->track);
  AddField(fields, "disc", record->disc);
  AddField(fields, "year", record->year);
  AddField(fields, "title", record->title);
  AddField(fields, "album", record->album);
  AddField(fields, "artist", record->artist);
  AddField(fields, "genre", record->genre);
  AddField(fields, "albumArtUrl", record->albumArtUrl);
  AddField(fields, "duration", static_cast<double>(record->duration));
  AddField(fields, "bitrate", uint64_t{record->bitrate});
  AddField(fields, "sampleRate", uint64_t{record->sampleRate});
  AddField(fields, "channels", uint64_t{record->channels});
  AddField(fields, "size", record->size);
  return "{" + Joined(fields) + "}";
}

std::string Show(const VEXOPlaylistRec *list) {
  if (list == nullptr) {
    return "null";
  }
  std::vector<std::string> songs;
  for (; list != nullptr; list = list->next) {
    songs.push_back(std::to_string(list->info.id) + " " + list->info.path);
  }
  return "[" + Joined(songs) + "]";
}

} // namespace recording
