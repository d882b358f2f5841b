#pragma once
// Where the songs of a download come from.

#include "model/location.h"
#include "model/playlist_rows.h"
#include "model/song_list.h"

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
  bool PushFront(const __tag_VEXO_MEDIA_INFO &song, Json::Value &response);
  void Reverse();

  WebMan &request_;
  const char *library_;
  PlaylistLocation location_; ///< of the playlist; its user is the request's
  const char *target_, *playlist_, *id_info_list_;
  SongList songs_;
  int chosen_ = 0;    ///< how many songs the client named
  PlaylistRows rows_; ///< of a normal playlist; released with the source
};
