#pragma once
// Node ids: the texts by which the client names a playlist, such as
// "musiclib_music_shared/playlist/12" or "musiclib_music_personal/smart/Loud".

/// The generated random playlist.
inline constexpr char kRandomPlaylistId[] = "musiclib_random";

/// The part of `text` behind the last separator ('@' in mode 1, '/' in mode 2), as a pointer into
/// it. `text` itself when there is no separator, nothing stands behind it, or in any other mode.
[[nodiscard]] const char *IdTail(const char *text, int mode);

/// The number that a text begins with, in decimal; 0 when it begins with none. One that does not
/// fit becomes the nearest that does.
[[nodiscard]] int LeadingNumber(const char *text);

/// The number that the tail of a node id begins with.
[[nodiscard]] int NumericTail(const char *id);

/// Whether the id names a playlist of the login user. Only its beginning counts: any id that does
/// not begin like a personal one is a shared one.
[[nodiscard]] bool IsPersonalId(const char *id);

/// Whether the text behind the first '/' begins with "smart".
[[nodiscard]] bool IsSmartId(const char *id);
