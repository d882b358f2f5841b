// cover song FORMAT, cover picture: the covers (cover/cover.h) of the song or picture that is open
// as standard input, on standard output. Nobody has looked at its bytes before. Exit status 0:
// done; 3: the song has no picture; 4: the picture cannot be read.
#include "cover/confine.h"
#include "cover/cover.h"
#include "cover/embedded_picture.h"
#include "files/file_io.h"
#include <cstdio>
#include <exception>
#include <string_view>
#include <unistd.h>

namespace {

constexpr int kFailed = 1, kUsage = 2, kNone = 3, kUnreadable = 4;
constexpr std::size_t kLargestPicture = std::size_t{64} << 20U; // bytes

int WriteCovers(const std::optional<std::string> &picture) {
  if (!picture) {
    return kNone;
  }
  const std::optional<std::string> covers =
      picture->size() > kLargestPicture ? std::nullopt : vexo::cover::MakeCovers(*picture);
  if (!covers) {
    return kUnreadable;
  }
  return vexo::files::WriteAll(STDOUT_FILENO, *covers) ? 0 : kFailed;
}

std::optional<std::string> ReadPicture(int argc, char **argv) {
  return argc == 3 ? vexo::cover::EmbeddedPicture(STDIN_FILENO, argv[2])
                   : vexo::files::ReadWholeFile(STDIN_FILENO, kLargestPicture);
}

} // namespace

int main(int argc, char **argv) {
  const std::string_view kind = argc > 1 ? argv[1] : "";
  if (!(kind == "song" && argc == 3) && !(kind == "picture" && argc == 2)) {
    std::fputs("usage: cover song FORMAT | cover picture, the file being standard input\n", stderr);
    return kUsage;
  }
  vexo::cover::Confine();
  try {
    return WriteCovers(ReadPicture(argc, argv));
  } catch (const std::exception &) {
    return kUnreadable; // also where the picture wants more memory than there is
  }
}
