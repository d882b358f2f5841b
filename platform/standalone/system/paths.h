#pragma once
// The standalone platform's own files and folders. All below DEVICE_ROOT, which is empty on a
// machine of its own and a folder of the build for `serve` and the tests.

#ifndef DEVICE_ROOT
#define DEVICE_ROOT ""
#endif

namespace vexo::system {

/// The link to the shared music library.
inline constexpr const char *kMusicLink = DEVICE_ROOT "/var/services/music";
/// One folder a user below it: the default personal library is kHomes/USER/music.
inline constexpr const char *kHomes = DEVICE_ROOT "/var/services/homes";
/// One preference folder a user below it.
inline constexpr const char *kPreferences = DEVICE_ROOT "/var/lib/vexo/preferences";
inline constexpr const char *kConfigFile = DEVICE_ROOT "/etc/vexo/playlist.conf";
inline constexpr const char *kAccountsFile = DEVICE_ROOT "/etc/vexo/accounts";
/// What the web server checks passwords against.
inline constexpr const char *kPasswordFile = DEVICE_ROOT "/etc/vexo/passwords";
/// What sessions are signed with.
inline constexpr const char *kSessionKey = DEVICE_ROOT "/etc/vexo/session_key";
inline constexpr const char *kState = DEVICE_ROOT "/var/lib/vexo";
inline constexpr const char *kIndexFile = DEVICE_ROOT "/var/lib/vexo/index.db";
/// Passwords for the server that has the index instead, where it wants any: see pgpass in
/// PostgreSQL's documentation.
inline constexpr const char *kDatabasePasswords = DEVICE_ROOT "/etc/vexo/database_passwords";
/// What was read of playlists, to be found again; it may go at any time.
inline constexpr const char *kPlaylistFacts = DEVICE_ROOT "/var/lib/vexo/playlist_facts";
/// Pictures of songs in the sizes that clients ask for, and which song has which. All can be made
/// anew.
inline constexpr const char *kCovers = DEVICE_ROOT "/var/lib/vexo/covers";
/// Files whose locks bound how much of something runs at once.
inline constexpr const char *kSlots = DEVICE_ROOT "/var/lib/vexo/slots";
inline constexpr const char *kCoverTool = DEVICE_ROOT "/usr/vexo/bin/cover";
inline constexpr const char *kAdminLog = DEVICE_ROOT "/var/log/vexo/admin.log";
inline constexpr const char *kSharedSmartRules = DEVICE_ROOT "/etc/mt-daapd.playlist";
/// The folder of playlist files in a library and in a preference folder.
inline constexpr const char *kPlaylistsFolder = "/playlists";
/// The description of the API, as JSON.
inline constexpr const char *kApiDocument = DEVICE_ROOT "/usr/share/vexo/openapi.json";
/// What brings the index up to date.
inline constexpr const char *kScanTool = DEVICE_ROOT "/usr/vexo/bin/playlistctl";
/// Where the player daemon listens.
inline constexpr const char *kPlayerSocket = DEVICE_ROOT "/tmp/vexoaudiod.sock";
inline constexpr const char *kTemporary = DEVICE_ROOT "/tmp";

} // namespace vexo::system
