#include "playlistctl/scan/output.h"

#include "system/log.h"
#include "text/utf8.h"
#include <algorithm>
#include <sys/ioctl.h>
#include <unistd.h>

namespace vexo::tools {

void StreamOutput::Line(const std::string &text) {
  ClearBar();
  stream_ << text << '\n';
}

void StreamOutput::Progress(std::string_view what, std::size_t done, std::size_t all) {
  if (columns_ == 0) {
    return;
  }
  std::string bar = ProgressBar(what, done, all, columns_ - 1);
  if (bar != bar_) {
    ClearBar();
    stream_ << bar << std::flush;
    bar_ = std::move(bar);
  }
}

void StreamOutput::ClearBar() {
  if (!bar_.empty()) {
    stream_ << "\r\033[K" << std::flush;
    bar_.clear();
  }
}

std::size_t TerminalColumns(int fd) {
  constexpr std::size_t kUsual = 80;
  winsize size{};
  if (isatty(fd) == 0) {
    return 0;
  }
  return ioctl(fd, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kUsual;
}

std::string ProgressBar(std::string_view what, std::size_t done, std::size_t all,
                        std::size_t columns) {
  constexpr std::size_t kBarWidth = 30;
  const std::size_t percent = all == 0 ? 100 : std::min(done, all) * 100 / all;
  const std::size_t filled = kBarWidth * percent / 100;
  std::string bar(what);
  bar += " [" + std::string(filled, '#') + std::string(kBarWidth - filled, '.') + "] " +
         std::to_string(percent) + "%";
  if (all < 10'000) {
    bar += " " + std::to_string(done) + "/" + std::to_string(all);
  }
  return bar.substr(0, columns);
}

std::string Printable(const std::string &path) {
  std::string text = system::EscapeLogText(text::ToValidUtf8(path));
  std::replace_if(
      text.begin(), text.end(), [](char c) { return (c >= 0 && c < ' ') || c == '\x7f'; }, '?');
  return text;
}

} // namespace vexo::tools
