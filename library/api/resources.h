#pragma once
// The handlers of all resources. Each is described in doc/openapi.yaml.

#include "api/answer.h"
#include "api/request.h"

namespace vexo::api {

// overview.cpp
Answer Overview(Request &request);

// document.cpp
Answer Document(Request &request);

// health.cpp
Answer Health(Request &request);

// session.cpp
Answer LogIn(Request &request);
Answer WhoAmI(Request &request);
Answer LogOut(Request &request);
Answer ChangePassword(Request &request);

// scan.cpp
Answer GetScan(Request &request);
Answer StartScan(Request &request);

// players.cpp
Answer ListPlayers(Request &request);
Answer GetPlayer(Request &request);
Answer PlayPlayer(Request &request);
Answer PausePlayer(Request &request);
Answer StopPlayer(Request &request);
Answer PlayNext(Request &request);
Answer PlayPrevious(Request &request);
Answer SeekPlayer(Request &request);
Answer SetPlayerVolume(Request &request);
Answer SetPlayerMode(Request &request);

// player_queue.cpp
Answer GetPlayerQueue(Request &request);
Answer FillPlayerQueue(Request &request);
Answer RemoveFromPlayerQueue(Request &request);
Answer MoveInPlayerQueue(Request &request);

// covers.cpp
Answer SongCover(Request &request);
Answer Cover(Request &request);

// songs.cpp
Answer ListSongs(Request &request);
Answer GetSong(Request &request);

// groups.cpp
Answer ListAlbums(Request &request);
Answer GetAlbum(Request &request);
Answer ListArtists(Request &request);
Answer GetArtist(Request &request);
Answer ListGenres(Request &request);
Answer GetGenre(Request &request);
Answer ListComposers(Request &request);
Answer GetComposer(Request &request);
Answer ListYears(Request &request);
Answer GetYear(Request &request);
Answer GetTopFolder(Request &request);
Answer GetFolder(Request &request);

// marks.cpp
Answer GetMark(Request &request);
Answer PutMark(Request &request);
Answer PostPlayed(Request &request);
Answer ListMarks(Request &request);

// stream.cpp
Answer Stream(Request &request);

// playlists.cpp, playlist_page.cpp, missing.cpp
Answer Playlists(Request &request);
Answer PlaylistPage(Request &request);
Answer MissingSongs(Request &request);
// smart.cpp
Answer GetRule(Request &request);
Answer PutRule(Request &request);
Answer DeleteRule(Request &request);
Answer PostRule(Request &request);
Answer PreviewRule(Request &request);
// queue.cpp
Answer GetQueue(Request &request);
Answer PutQueue(Request &request);
// import.cpp
Answer Import(Request &request);

} // namespace vexo::api
