// The system log, caught before it leaves the process. Linking takes these before the C library's.
#include "recording_platform/recording_host.h"
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <syslog.h>

namespace {

/// Takes "MODULE:LINE MESSAGE" apart.
recording::LogLine TakenApart(int priority, const std::string &text) {
  const std::size_t colon = text.find(':');
  const std::size_t blank = text.find(' ');
  const bool has_prefix = colon != std::string::npos && blank != std::string::npos &&
                          colon + 1 < blank && colon > 0 &&
                          text.find_first_not_of("0123456789", colon + 1) == blank;
  if (!has_prefix) {
    return {priority, "", 0, text};
  }
  return {priority, text.substr(0, colon), std::atoi(text.c_str() + colon + 1),
          text.substr(blank + 1)};
}

void Catch(int priority, const char *format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, again);
  va_end(again);
  std::string text(static_cast<std::size_t>(length) + 1, '\0');
  std::vsnprintf(text.data(), text.size(), format, arguments);
  text.pop_back();
  const recording::LogLine line = TakenApart(priority, text);
  recording::TheHost().log.push_back(line);
  recording::TheHost().Record("syslog", {line.message});
}

} // namespace

extern "C" {

void syslog(int priority, const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  Catch(priority, format, arguments);
  va_end(arguments);
}

void vsyslog(int priority, const char *format, va_list arguments) {
  Catch(priority, format, arguments);
}

void __syslog_chk(int priority, int flag, const char *format, ...);
void __syslog_chk(int priority, int /*flag*/, const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  Catch(priority, format, arguments);
  va_end(arguments);
}
}
