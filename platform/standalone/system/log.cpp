#include "system/log.h"

#include "text/utf8.h"
#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <limits>
#include <mutex>
#include <new>
#include <optional>
#include <syslog.h>

// What the linker's --wrap makes of the C library's functions.
extern "C" {
void __real_syslog(int priority, const char *format, ...) __attribute__((format(printf, 2, 3)));
void __real_closelog();
void __wrap_syslog(int priority, const char *format, ...) __attribute__((format(printf, 2, 3)));
void __wrap_vsyslog(int priority, const char *format, va_list arguments);
void __wrap___syslog_chk(int priority, int flag, const char *format, ...);
void __wrap___vsyslog_chk(int priority, int flag, const char *format, va_list arguments);
void __wrap_closelog();
}

namespace vexo::system {
namespace {

/// One message as its caller formatted it.
class Message {
public:
  Message(int priority, const char *format, va_list arguments) : priority_(priority) {
    const int length = std::vsnprintf(text_.data(), text_.size(), format, arguments);
    is_cut_ = length >= static_cast<int>(text_.size());
    size_ = is_cut_ ? text_.size() - 1 : static_cast<std::size_t>(std::max(length, 0));
    if (text().ends_with('\n')) { // what a caller adds is no text of a client's
      --size_;
    }
  }

  [[nodiscard]] std::string_view text() const { return {text_.data(), size_}; }

  [[nodiscard]] bool Repeats(const Message &other) const {
    return priority_ == other.priority_ && text() == other.text();
  }

  void Write() const noexcept {
    const char *const mark = is_cut_ ? " ... (cut)" : "";
    try {
      __real_syslog(priority_, "%s%s", EscapeLogText(text()).c_str(), mark);
    } catch (const std::bad_alloc &) {
      __real_syslog(priority_, "no memory to write a line of %zu bytes", size_);
    }
  }

private:
  int priority_;
  bool is_cut_;
  std::size_t size_;
  std::array<char, kLongestLogMessage + 1> text_;
};

/// What this process has written, and what it has only counted.
class Log {
public:
  void Take(const Message &message) noexcept {
    const std::lock_guard lock(mutex_);
    if (last_ && message.Repeats(*last_)) {
      ++repeats_;
      return;
    }
    FlushRepeats();
    if (lines_ >= most_lines_) {
      ++left_out_;
      return;
    }
    ++lines_;
    message.Write();
    last_ = message;
  }

  void Bound(unsigned lines) noexcept {
    const std::lock_guard lock(mutex_);
    lines_ = 0;
    most_lines_ = lines;
  }

  void Flush() noexcept {
    const std::lock_guard lock(mutex_);
    FlushRepeats();
    if (left_out_ > 0) {
      __real_syslog(LOG_ERR, "%u more lines were left out", left_out_);
      left_out_ = 0;
    }
  }

private:
  void FlushRepeats() {
    if (repeats_ > 0) {
      __real_syslog(LOG_ERR, "last message repeated %u times", repeats_);
      repeats_ = 0;
    }
    last_.reset();
  }

  std::mutex mutex_;
  std::optional<Message> last_;
  unsigned repeats_ = 0, lines_ = 0, left_out_ = 0;
  unsigned most_lines_ = std::numeric_limits<unsigned>::max();
};

constinit Log the_log;

struct FlushAtExit {
  ~FlushAtExit() { the_log.Flush(); }
} flush_at_exit;

void AppendEscaped(std::string &escaped, std::string_view bytes) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    escaped.append("\\x").append(1, kDigits[byte >> 4U]).append(1, kDigits[byte & 0xFU]);
  }
}

/// Controls of C0 and C1: terminals obey both.
bool IsControl(char32_t letter) { return letter < 0x20 || (letter >= 0x7F && letter < 0xA0); }

} // namespace

std::string EscapeLogText(std::string_view text) {
  std::string escaped;
  escaped.reserve(text.size());
  while (!text.empty()) {
    const text::Utf8Character letter = text::DecodeUtf8(text);
    const std::string_view bytes = text.substr(0, std::max<std::size_t>(letter.length_bytes, 1));
    if (letter.length_bytes == 0 || IsControl(letter.code_point)) {
      AppendEscaped(escaped, bytes);
    } else {
      escaped.append(bytes == "\\" ? "\\\\" : bytes);
    }
    text.remove_prefix(bytes.size());
  }
  return escaped;
}

void BoundLog(unsigned lines) noexcept { the_log.Bound(lines); }

void FlushLog() noexcept { the_log.Flush(); }

void LogFailure(const char *operation, const char *cause) noexcept {
  syslog(LOG_ERR, "%s: %s", operation, cause);
}

} // namespace vexo::system

void __wrap_vsyslog(int priority, const char *format, va_list arguments) {
  vexo::system::the_log.Take(vexo::system::Message(priority, format, arguments));
}

void __wrap_syslog(int priority, const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  __wrap_vsyslog(priority, format, arguments);
  va_end(arguments);
}

// With _FORTIFY_SOURCE the C library's header calls these by the names above.
void __wrap___vsyslog_chk(int priority, int /*flag*/, const char *format, va_list arguments) {
  __wrap_vsyslog(priority, format, arguments);
}

void __wrap___syslog_chk(int priority, int /*flag*/, const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  __wrap_vsyslog(priority, format, arguments);
  va_end(arguments);
}

void __wrap_closelog() {
  vexo::system::FlushLog();
  __real_closelog();
}
