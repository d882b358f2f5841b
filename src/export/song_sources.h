#pragma once
// Where the songs of a download come from.

#include "model/song_json.h"
#include "vexo/media_index.h"
#include "vexo/web.h"
#include <memory>
#include <string>

struct PlaylistRowDeleter {
  void operator()(VEXOPlaylistRow *row) const { VEXOPlayListFree(row); }
};

class SongSource {
public:
  /// Takes the request's parameters and its user; the request must outlive the source.
  explicit SongSource(WebMan &request);

  /// Whether the request names a source.
  [[nodiscard]] bool IsGiven() const;
  /// Builds the list of songs. False: failed and logged, and `response` says so.
  [[nodiscard]] bool Load(Json::Value &response);
  /// The songs, in order; null: there are none.
  [[nodiscard]] const VEXOPlaylistRec *songs() const { return songs_.get(); }
  /// Whether the client chose songs itself, and just one.
  [[nodiscard]] bool IsSingleSong() const { return chosen_ == 1; }

private:
  bool LoadQueue(Json::Value &response);
  bool LoadRandom(Json::Value &response);
  bool LoadSmart(Json::Value &response);
  bool LoadNormal(Json::Value &response);
  bool LoadChosen(Json::Value &response);
  bool LoadPlaylist(Json::Value &response);
  bool FindPlaylistFile(Json::Value &response, std::string &path);
  bool PushFront(const __tag_VEXO_MEDIA_INFO &song, Json::Value &response);
  void Reverse();

  WebMan &request_;
  const char *library_;
  std::string user_;
  int user_id_;
  const char *target_, *playlist_, *id_info_list_;
  SongList songs_;
  int chosen_ = 0; ///< how many songs the client named
  std::unique_ptr<VEXOPlaylistRow, PlaylistRowDeleter> row_;
};
