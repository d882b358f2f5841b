#pragma once
// The fixed paths of the device. DEVICE_ROOT stands before each of them: empty on a device, a
// folder of the build where nothing of the machine may be touched.

#ifndef DEVICE_ROOT
#define DEVICE_ROOT ""
#endif

/// The link whose target is the root of the shared library.
inline constexpr char kMusicLink[] = DEVICE_ROOT "/var/services/music";
/// The rules of the shared smart playlists.
inline constexpr char kSharedSmartRules[] = DEVICE_ROOT "/etc/mt-daapd.playlist";

inline constexpr char kTouchTool[] = DEVICE_ROOT "/bin/touch";
inline constexpr char kCatTool[] = DEVICE_ROOT "/bin/cat";
inline constexpr char kZipTool[] = DEVICE_ROOT "/usr/vexo/bin/zip";

/// Where the player daemon listens.
inline constexpr char kPlayerSocket[] = DEVICE_ROOT "/tmp/vexoaudiod.sock";
/// A format: the queue of a user's own browser stream, by user name.
inline constexpr char kStreamQueueFormat[] = DEVICE_ROOT "/tmp/playing_%s.pls";
/// A format: the random playlist of a user, by user name.
inline constexpr char kRandomListFormat[] = DEVICE_ROOT "/tmp/==DynaRandom100==.%s";
/// A template for mkdtemp(): where a download is put together.
inline constexpr char kDownloadFolderTemplate[] = DEVICE_ROOT "/tmp/audiodlXXXXXX";

inline constexpr char kSystemEqualizer[] =
    DEVICE_ROOT "/var/packages/Cantorix/target/etc/equalizer.system";
inline constexpr char kUserEqualizer[] = DEVICE_ROOT "/var/packages/Cantorix/etc/equalizer.user";

static_assert(sizeof(kPlayerSocket) <= 108,
              "DEVICE_ROOT is too long: the player's socket path must fit 108 bytes");
