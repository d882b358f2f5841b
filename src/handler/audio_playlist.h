#pragma once
#include "vexo/web.h"

/// Serves one request: one action of the table in the source, chosen by the parameter `action`.
class PlaylistHandler : public ActionHandler {
public:
  PlaylistHandler();
  ~PlaylistHandler() override;

  /// 1 when an action ran, whatever came of it; 0 when the request is refused or names no action,
  /// and nothing was printed.
  int Process() override;

  // The actions, each defined in the source of its family. Each prints its answer.

  // actions/create_playlist.cpp: create a normal playlist, or with `overwrite` replace the songs
  // of one.

  /// "add": from songs that the client has chosen.
  void HandleAdd();
  /// "addplaying": from the queue of a player.
  void HandleAddPlaying();
  /// "addsearch": from a search of the library.
  void HandleAddSearch();

  // actions/edit_songs.cpp: change the songs of a normal playlist.

  /// "addsongs": appends songs.
  void HandleAddSongs();
  /// "update": replaces a range of the songs.
  void HandleUpdate();
  /// "removesongs": removes songs by their positions.
  void HandleRemoveSongs();
  /// "remove_missing": drops the songs whose files are gone.
  void HandleRemoveMissing();

  /// "saveplsname": gives a playlist a new name (actions/rename_playlist.cpp).
  void HandleSavePlsName();
  /// "delete": removes normal and smart playlists (actions/delete_playlists.cpp).
  void HandleDelete();
  /// "duplicate": copies a playlist into the other library, under the same name
  /// (actions/duplicate_playlist.cpp).
  void HandleDuplicate();
  /// "checkempty": whether a playlist of any kind has no songs (actions/check_empty.cpp).
  void HandleCheckEmpty();
  /// "download": sends what the first of the parameters `target` (a player's queue), `playlist` (a
  /// node id) and `id_info_list` (chosen songs) names, a single chosen song as it is, all else as
  /// an archive under the name `filename` (export/download.cpp).
  void HandleDownload();
};
