#pragma once
// Answers that the host gives by itself.

namespace vexo::web {

/// Why a request may not go on.
enum class Refusal {
  kNoUser,         ///< the web server named no user
  kNoAccount,      ///< the user has no account
  kFailed,         ///< the accounts cannot be read, or a playlist not be looked at
  kMethod,         ///< a method that nothing here has
  kHeadOfChange,   ///< HEAD, which changes nothing, of an action that changes something
  kLinkOfChange,   ///< an action that changes something, in a session and not by POST
  kVersion,        ///< the playlist has not the version of If-Match
  kTwoKinds,       ///< If-Match of playlists of two kinds, which are not deleted as one
  kTooManyEntries, ///< more than kMostEntries in one list
  kNameWithComma,  ///< a list of names cannot be told from one name
  kCrossSite,      ///< a page of another site or origin sent the request
};

/// Answers with the refusal's status and a body of one line.
void PrintRefusal(Refusal refusal);

/// Answers a request that nobody answered, as one that asked for nothing.
void PrintNothingAsked() noexcept;

} // namespace vexo::web
