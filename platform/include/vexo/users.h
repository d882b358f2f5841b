#pragma once
// The users of the host.

/// The numeric id of a user, positive; -1 when there is no such user.
int GetUserIdFromName(const char *userName);

/// 1 when the user has a personal library, 0 when not or when there is no such user.
int IsPersonalLibEnabled(const char *userName);

class AudioUsers {
public:
  /// The permission bits of a user; 0 for one that is not known.
  static int GetUserPermission(const char *userName);
};
