#pragma once
// What a long command tells while it works.

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>

namespace vexo::tools {

class Output {
public:
  virtual ~Output() = default;
  /// Something that a reader should know; one line.
  virtual void Line(const std::string &text) = 0;
  /// How far the work is.
  virtual void Progress(std::string_view what, std::size_t done, std::size_t all) = 0;
};

/// Lines, and a bar below them when the stream is a terminal `columns` wide (0: it is none).
class StreamOutput : public Output {
public:
  StreamOutput(std::ostream &stream, std::size_t columns) : stream_(stream), columns_(columns) {}
  ~StreamOutput() override { ClearBar(); }
  void Line(const std::string &text) override;
  void Progress(std::string_view what, std::size_t done, std::size_t all) override;

private:
  void ClearBar();
  std::ostream &stream_;
  std::size_t columns_;
  std::string bar_; ///< what stands there; empty when nothing does
};

/// The width of the terminal that a descriptor is; 0: it is none.
std::size_t TerminalColumns(int fd);

/// "Reading tags [####....] 50% 5/10", at most `columns` wide.
std::string ProgressBar(std::string_view what, std::size_t done, std::size_t all,
                        std::size_t columns);

/// A path as a line can hold it: valid UTF-8 without control characters.
std::string Printable(const std::string &path);

} // namespace vexo::tools
