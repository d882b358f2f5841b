#include "api/resources.h"
#include "api/router.h"
#include <array>

namespace vexo::api {
namespace {

constexpr std::string_view kSongParameters =
    "library q album artist album_artist genre composer folder below year_from year_to type sort "
    "dir offset limit";
constexpr std::string_view kAlbumParameters =
    "library q artist album_artist genre composer folder year_from year_to sort dir offset limit";
constexpr std::string_view kNameParameters = "library q sort dir offset limit";

} // namespace

std::span<const Route> Routes() {
  static constexpr std::array kRoutes = {
      Route{"GET", "/", Overview},
      Route{"GET", "/openapi.json", Document, "", true},
      Route{"GET", "/health", Health, "", true},
      Route{"POST", "/session", LogIn, "", true},
      Route{"GET", "/session", WhoAmI},
      Route{"DELETE", "/session", LogOut, "everywhere", true},
      Route{"POST", "/password", ChangePassword},

      Route{"GET", "/scan", GetScan},
      Route{"POST", "/scan", StartScan},

      Route{"GET", "/players", ListPlayers},
      Route{"GET", "/players/{player}", GetPlayer},
      Route{"GET", "/players/{player}/queue", GetPlayerQueue, "offset limit"},
      Route{"POST", "/players/{player}/queue", FillPlayerQueue},
      Route{"POST", "/players/{player}/play", PlayPlayer},
      Route{"POST", "/players/{player}/pause", PausePlayer},
      Route{"POST", "/players/{player}/stop", StopPlayer},
      Route{"POST", "/players/{player}/next", PlayNext},
      Route{"POST", "/players/{player}/previous", PlayPrevious},
      Route{"POST", "/players/{player}/seek", SeekPlayer},
      Route{"POST", "/players/{player}/volume", SetPlayerVolume},
      Route{"POST", "/players/{player}/mode", SetPlayerMode},
      Route{"POST", "/players/{player}/remove", RemoveFromPlayerQueue},
      Route{"POST", "/players/{player}/move", MoveInPlayerQueue},
      Route{"GET", "/songs/{id}/mark", GetMark},
      Route{"PUT", "/songs/{id}/mark", PutMark},
      Route{"POST", "/songs/{id}/mark", PostPlayed},
      Route{"GET", "/marks", ListMarks, "songs star offset limit"},
      Route{"GET", "/songs/{id}/cover", SongCover, "size missing"},
      Route{"GET", "/covers/{hash}", Cover, "size"},
      Route{"GET", "/songs", ListSongs, kSongParameters},
      Route{"GET", "/songs/{id}", GetSong},
      Route{"GET", "/songs/{id}/stream", Stream, "format bitrate offset_seconds"},
      Route{"GET", "/albums", ListAlbums, kAlbumParameters},
      Route{"GET", "/albums/{id}", GetAlbum, "offset limit"},
      Route{"GET", "/artists", ListArtists, kNameParameters},
      Route{"GET", "/artists/{id}", GetArtist, "offset limit"},
      Route{"GET", "/genres", ListGenres, kNameParameters},
      Route{"GET", "/genres/{id}", GetGenre, "offset limit"},
      Route{"GET", "/composers", ListComposers, kNameParameters},
      Route{"GET", "/composers/{id}", GetComposer, "offset limit"},
      Route{"GET", "/years", ListYears, kNameParameters},
      Route{"GET", "/years/{id}", GetYear, "offset limit"},
      Route{"GET", "/folders", GetTopFolder, "library offset limit"},
      Route{"GET", "/folders/{id}", GetFolder, "offset limit"},
      Route{"GET", "/playlists", Playlists, "library kind q sort dir offset limit"},
      Route{"POST", "/import", Import},
      Route{"GET", "/queue", GetQueue, "offset limit"},
      Route{"PUT", "/queue", PutQueue},
      Route{"POST", "/smart", PostRule},
      Route{"POST", "/smart/preview", PreviewRule},
      Route{"GET", "/smart/{playlist}", GetRule},
      Route{"PUT", "/smart/{playlist}", PutRule},
      Route{"DELETE", "/smart/{playlist}", DeleteRule},
      Route{"GET", "/playlists/{playlist}/missing", MissingSongs, "offset limit"},
      Route{"GET", "/playlists/{playlist}", PlaylistPage, "format library offset limit"},
  };
  return kRoutes;
}

} // namespace vexo::api
