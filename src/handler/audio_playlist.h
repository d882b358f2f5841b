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

  // Each runs one action and prints its answer.
  void HandleAdd();
  void HandleAddPlaying();
  void HandleAddSearch();
  void HandleRemoveSongs();
  void HandleAddSongs();
  void HandleDelete();
  void HandleSavePlsName();
  void HandleUpdate();
  void HandleRemoveMissing();
  void HandleDuplicate();
  void HandleDownload();
  void HandleCheckEmpty();
};
