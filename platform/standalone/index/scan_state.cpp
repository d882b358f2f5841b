#include "index/scan_state.h"

#include "files/file_io.h"
#include "system/log.h"
#include "system/shared_state.h"
#include "text/numbers.h"
#include <array>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <string_view>
#include <sys/file.h>
#include <system_error>

namespace vexo::index {
namespace {

constexpr const char *kHead = "scan 1\n";
constexpr std::size_t kMostBytes = 4096;
constexpr mode_t kMode = 0640;

std::string LockPath() { return system::SharedStatePath("index.db.scan"); }
std::string StatePath() { return LockPath() + ".state"; }

/// The numbers of a state in the order of the file, a line each; the library's name follows.
template <typename State> auto NumbersOf(State &state) {
  return std::array{&state.started,   &state.finished,  &state.files_read, &state.files_to_read,
                    &state.added,     &state.changed,   &state.moved,      &state.gone,
                    &state.unchanged, &state.unreadable};
}

std::string Print(const ScanState &state) {
  std::string text = kHead;
  for (const int64_t *number : NumbersOf(state)) {
    text += std::to_string(*number) + "\n";
  }
  return text + (state.complete ? "complete" : "incomplete") + "\n" + state.library + "\n";
}

/// The next line of `text`, which loses it.
std::optional<std::string_view> TakeLine(std::string_view &text) {
  const std::size_t end = text.find('\n');
  if (end == std::string_view::npos) {
    return std::nullopt;
  }
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(end + 1);
  return line;
}

std::optional<ScanState> Parse(std::string_view text) {
  ScanState state;
  if (!text.starts_with(kHead)) {
    return std::nullopt;
  }
  text.remove_prefix(std::string_view(kHead).size());
  for (int64_t *number : NumbersOf(state)) {
    const std::optional<int64_t> value = text::ParseInteger(TakeLine(text).value_or(""));
    if (!value || *value < 0) {
      return std::nullopt;
    }
    *number = *value;
  }
  state.complete = TakeLine(text) == "complete";
  state.library = TakeLine(text).value_or("");
  return state;
}

} // namespace

ScanLock::ScanLock()
    : file_(open(LockPath().c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, kMode)) {
  if (!file_) {
    throw std::system_error(errno, std::generic_category(), LockPath());
  }
  held_ = flock(file_.get(), LOCK_EX | LOCK_NB) == 0;
}

bool IsScanning() {
  const files::FileDescriptor file(open(LockPath().c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
  return file && flock(file.get(), LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

std::optional<ScanState> ReadScanState() {
  const std::optional<std::string> text = files::ReadWholeFile(StatePath(), kMostBytes);
  return text ? Parse(*text) : std::nullopt;
}

void WriteScanState(const ScanState &state) noexcept {
  try {
    const std::string next = StatePath() + ".next";
    const files::FileDescriptor file(
        open(next.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, kMode));
    if (!file || !files::WriteAll(file.get(), Print(state)) ||
        rename(next.c_str(), StatePath().c_str()) != 0) {
      throw std::system_error(errno, std::generic_category(), next);
    }
  } catch (const std::exception &error) {
    system::LogFailure("the state of the scan is not written", error.what());
  }
}

} // namespace vexo::index
