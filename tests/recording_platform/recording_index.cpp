#include "recording_platform/recording_host.h"
#include "vexo/media_index.h"
#include <cstdlib>
#include <cstring>

using recording::Show;
using recording::TheHost;

struct VEXOMediaCursor {
  std::size_t next = 0;
};

namespace {

/// Hands out the scripted list of `name` when the call succeeds.
int HandOut(const std::string &name, VEXOPlaylistRec **head) {
  const int result = TheHost().Result(name, 0);
  if (result == 0) {
    *head = TheHost().SongList(name);
  }
  return result;
}

int Saved(const std::string &name, const __tag_VEXO_MEDIA_INFO *playlist) {
  TheHost().saved.push_back(*playlist);
  return TheHost().Result(name, 0);
}

int Filled(const std::string &name, char *buffer, int size) {
  const int result = TheHost().Result(name, 0);
  if (result == 0) {
    TheHost().Fill(name, buffer, size);
  }
  return result;
}

std::string Show(const VEXOPlaylistRow *list) {
  std::string text;
  for (; list != nullptr; list = list->next) {
    text += (text.empty() ? "" : ", ") + std::to_string(list->info.id);
  }
  return "rows [" + text + "]";
}

} // namespace

void VEXOPlaylistRecFree(VEXOPlaylistRec *head) {
  TheHost().Record("VEXOPlaylistRecFree", {Show(head)});
  while (head != nullptr) {
    VEXOPlaylistRec *next = head->next;
    TheHost().lent.erase(head);
    std::free(head);
    head = next;
  }
}

VEXOPlaylistRec *PlaylistRecReverse(VEXOPlaylistRec *head) {
  TheHost().Record("PlaylistRecReverse", {Show(head)});
  VEXOPlaylistRec *reversed = nullptr;
  while (head != nullptr) {
    VEXOPlaylistRec *next = head->next;
    head->next = reversed;
    reversed = head;
    head = next;
  }
  return reversed;
}

int VEXOMusicListGetByID(const char *library, int user_id, VEXOPlaylistRec **head,
                         const char *ids) {
  TheHost().Record("VEXOMusicListGetByID", {Show(library), Show(user_id), Show(ids)});
  return HandOut("VEXOMusicListGetByID", head);
}

int VEXOMusicListAll(const char *library, int user_id, VEXOPlaylistRec **head, int field,
                     const char *keyword, const char *sort, int ascending, int offset, int limit) {
  TheHost().Record("VEXOMusicListAll", {Show(library), Show(user_id), Show(field), Show(keyword),
                                        Show(sort), Show(ascending), Show(offset), Show(limit)});
  return HandOut("VEXOMusicListAll", head);
}

VEXOMediaCursor *AudioInfoDBOpen(const char *library, int user_id, int table, const char *fields,
                                 const char *query, int offset, int limit, int sort, int flags) {
  TheHost().Record("AudioInfoDBOpen",
                   {Show(library), Show(user_id), Show(table), Show(fields), Show(query),
                    Show(offset), Show(limit), Show(sort), Show(flags)});
  if (TheHost().Result("AudioInfoDBOpen", 1) == 0) {
    return nullptr;
  }
  ++TheHost().open_cursors;
  return new VEXOMediaCursor;
}

int MediaInfoDBGet(VEXOMediaCursor *cursor, __tag_VEXO_MEDIA_INFO *info) {
  TheHost().Record("MediaInfoDBGet", {});
  const auto &rows = TheHost().records["MediaInfoDBGet"];
  if (TheHost().Result("MediaInfoDBGet", 0) == -1 || cursor->next >= rows.size()) {
    return -1;
  }
  *info = rows[cursor->next++];
  return 0;
}

void AudioInfoDBClose(VEXOMediaCursor *cursor) {
  TheHost().Record("AudioInfoDBClose", {});
  --TheHost().open_cursors;
  delete cursor;
}

int VEXOPlaylistDBSave(const __tag_VEXO_MEDIA_INFO *playlist) {
  TheHost().Record("VEXOPlaylistDBSave", {Show(playlist)});
  return Saved("VEXOPlaylistDBSave", playlist);
}

int PersonalLibraryInfoDBSave(int kind, const __tag_VEXO_MEDIA_INFO *playlist, int user_id) {
  TheHost().Record("PersonalLibraryInfoDBSave", {Show(kind), Show(playlist), Show(user_id)});
  return Saved("PersonalLibraryInfoDBSave", playlist);
}

int VEXOPlaylistDBUpdate(const char *library, int user_id, const __tag_VEXO_MEDIA_INFO *playlist,
                         int playlist_id) {
  TheHost().Record("VEXOPlaylistDBUpdate",
                   {Show(library), Show(user_id), Show(playlist), Show(playlist_id)});
  return Saved("VEXOPlaylistDBUpdate", playlist);
}

int VEXOPlaylistDBUpdate(const char *library, int user_id, const __tag_VEXO_MEDIA_INFO *playlist,
                         const char *old_path) {
  TheHost().Record("VEXOPlaylistDBUpdate",
                   {Show(library), Show(user_id), Show(playlist), Show(old_path)});
  return Saved("VEXOPlaylistDBUpdate", playlist);
}

int VEXOPlaylistIDGet(const char *library, int user_id, const char *path, char *buffer, int size) {
  TheHost().Record("VEXOPlaylistIDGet", {Show(library), Show(user_id), Show(path), Show(size)});
  return Filled("VEXOPlaylistIDGet", buffer, size);
}

int VEXOPlaylistPathGet(const char *library, int user_id, int playlist_id, char *buffer, int size) {
  TheHost().Record("VEXOPlaylistPathGet",
                   {Show(library), Show(user_id), Show(playlist_id), Show(size)});
  return Filled("VEXOPlaylistPathGet", buffer, size);
}

int VEXOPlaylistTitleGet(const char *id, char *buffer, int size, const VEXOPlaylistRow *list) {
  TheHost().Record("VEXOPlaylistTitleGet", {Show(id), Show(size), Show(list)});
  return Filled("VEXOPlaylistTitleGet", buffer, size);
}

int VEXOPlaylistTitleGetByPath(const char *path, char *buffer, int size, int user_id) {
  TheHost().Record("VEXOPlaylistTitleGetByPath", {Show(path), Show(size), Show(user_id)});
  return Filled("VEXOPlaylistTitleGetByPath", buffer, size);
}

int VEXOPlayListListGetByID(const char *library, int user_id, VEXOPlaylistRow **list,
                            const char *ids) {
  TheHost().Record("VEXOPlayListListGetByID", {Show(library), Show(user_id), Show(ids)});
  const auto found = TheHost().records.find("VEXOPlayListListGetByID");
  const bool known = found != TheHost().records.end();
  const int result = TheHost().Result("VEXOPlayListListGetByID", known ? 0 : -1);
  if (result != 0 || !known) {
    return result;
  }
  for (const __tag_VEXO_MEDIA_INFO &record : found->second) {
    auto *row = new VEXOPlaylistRow{record, user_id, nullptr};
    *list = row;
    list = &row->next;
    ++TheHost().open_rows;
  }
  return result;
}

int VEXOPlayListUnlink(const char *library, VEXOPlaylistRow *list) {
  TheHost().Record("VEXOPlayListUnlink", {Show(library), Show(list)});
  return TheHost().Result("VEXOPlayListUnlink", 0);
}

void VEXOPlayListFree(VEXOPlaylistRow *list) {
  TheHost().Record("VEXOPlayListFree", {Show(list)});
  while (list != nullptr) {
    VEXOPlaylistRow *next = list->next;
    delete list;
    --TheHost().open_rows;
    list = next;
  }
}

int VEXOIndexCodePageGet() {
  TheHost().Record("VEXOIndexCodePageGet", {});
  return TheHost().Result("VEXOIndexCodePageGet", 65001);
}
