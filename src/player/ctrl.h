#pragma once
// The client of the player daemon: the one routine that talks to it, the commands that control a
// player, and two look-ups that belong to playing but ask no daemon. A command is a record of fixed
// size on a connection of its own, answered by one reply. Nothing is kept between two commands.

#include <cstdint>

/// What the daemon reads, as raw bytes: the code in the machine's byte order and the argument text.
struct PlayerCommand {
  int32_t code;
  char argument[8192]; ///< NUL-terminated; what follows the terminator means nothing
};
static_assert(sizeof(PlayerCommand) == 8196);

/// A record whose argument is the formatted text, cut where it would not fit.
[[gnu::format(printf, 2, 3)]] PlayerCommand PlayerCommandPrint(int32_t code, const char *format,
                                                               ...);

/// Sends one record and reads the reply into `reply` of `reply_size` bytes, which is cut there and
/// then not terminated. Waits up to 10 seconds to write, and again to read. 0, or a negative value:
/// failed, and `reply` means nothing.
int PlayerCommandSend(const PlayerCommand *command, char *reply, int reply_size);

/// Sends one record and throws the reply away. Results as PlayerCommandSend().
int PlayerCommandSendOnly(const PlayerCommand &command);

// The control commands, by their codes; what a code does is the daemon's business. Results as
// PlayerCommandSend().

int PlayerControl1();
int PlayerControl2();
int PlayerControl3();
int PlayerControl4();
int PlayerControl5();
int PlayerControl6();
int PlayerControl7();
int PlayerControl8(int value);
int PlayerControl9(int value);
int PlayerControl10();
int PlayerControl11(int value);
int PlayerControl12();
int PlayerControl13();
int PlayerControl16();
int PlayerControl31();
int PlayerControl32();
int PlayerControl34();
int PlayerControl35(int value);
int PlayerControl36();
int PlayerControl37();
int PlayerControl38(const float values[10]);
int PlayerControl39(int value);

/// Whether a player of `type` plays the file or address `path`, by its extension. Type 0 plays
/// everything (even a null path), 2 and 3 are players with lists of their own. 1 or 0.
int IsPlayableFile(int type, const char *path);

/// Looks up the equalizer profile `name` in a file of lines "NAME:SETTINGS" and copies its
/// settings, trimmed, into `value` of `value_size` bytes. A line's name matches every name that
/// begins with it. 1: found, 0: not found, -1: the file cannot be read, or holds a line without a
/// colon.
int EqualizerProfileFind(const char *profile_path, const char *name, char *value, int value_size);

/// The settings of the default equalizer profile, from the system's profiles or else the user's.
/// 1: found, 0: the equalizer is off or nothing was found, -1: failed.
int EqualizerDefaultProfileGet(char *value, int value_size);
