#pragma once
// The commands that ask a player, or choose one. Results as PlayerCommandSend(); a reply of the
// caller's is filled as that routine fills it. A parameter that is null, or a reply without room,
// fails the call before anything is sent.

/// Chooses the player that this process asks from now on; -1 is the one on USB.
int PlayerTargetSelect(int player);

/// Asks for up to `limit` entries of the chosen player's queue, from `offset` on, as JSON text.
int PlayerQueueGet(int offset, int limit, char *reply, int reply_size);

// The others, by their codes; what a code does is the daemon's business.

int PlayerInfo17();
int PlayerInfo18();
int PlayerInfo19(int first, int second, char *reply, int reply_size);
int PlayerInfo20(int first, int second, char *reply, int reply_size);
int PlayerInfo22(char *reply, int reply_size);
int PlayerInfo40(const char *text);
int PlayerInfo41(const char *text);
int PlayerInfo42(const char *text, char *reply, int reply_size);
