#pragma once
// The answer on its way to the client.

#include <string_view>

namespace vexo::web {

/// Ends the standard output when it is destroyed itself, so that the web server sends the end of
/// the answer, and need not wait until this process has given its memory back.
class OutputEnd {
public:
  OutputEnd() = default;
  ~OutputEnd();
  OutputEnd(const OutputEnd &) = delete;
  OutputEnd &operator=(const OutputEnd &) = delete;
};

/// Called before the first byte of an answer. If nobody did, ~ActionHandler answers 400.
void MarkAnswered() noexcept;
/// Whether an answer was begun, or waits in the standard output's buffer.
bool IsAnswered() noexcept;
/// Whether something of an answer has been sent. May be called by a signal's handler.
bool HasBegunToAnswer() noexcept;

/// Writes all of `bytes` to the client, behind what the program printed so far, and marks the
/// request as answered. False when the client or the server is gone.
bool WriteAnswer(std::string_view bytes) noexcept;

} // namespace vexo::web
