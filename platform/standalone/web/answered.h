#pragma once

namespace vexo::web {

/// Whoever begins to answer the client says so, as a request that nobody answered is refused when
/// the handler ends.
void MarkAnswered() noexcept;
/// Whether an answer was begun, or waits in the standard output's buffer.
bool IsAnswered() noexcept;

} // namespace vexo::web
