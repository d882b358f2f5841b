#include "media/covers.h"

#include "accounts/libraries.h"
#include "files/folder.h"
#include "media/cover_answer.h"
#include "media/cover_table.h"
#include "media/open_song.h"
#include "media/picture_beside.h"
#include "system/child_program.h"
#include "system/config.h"
#include "system/log.h"
#include "system/paths.h"
#include "system/slots.h"
#include "text/numbers.h"
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <system_error>

namespace vexo::media {
namespace {

using PictureKind = FoundPicture::Kind;

constexpr int kAtOnce = 4;
constexpr std::chrono::seconds kPatienceForSlot{10}, kPatienceForTool{20};
constexpr int kNice = 5;
constexpr std::size_t kLargestAnswer = kCoverSizes.size() * kLargestCover + 100;
constexpr const char *kPurpose = "a cover";

const std::string &TablePath() {
  static const std::string path = std::string(system::kCovers) + "/songs";
  return path;
}

/// What a file is, and was not before it was changed or another one took its place.
std::string TextOf(const struct stat &status) {
  return std::to_string(status.st_dev) + " " + std::to_string(status.st_ino) + " " +
         std::to_string(status.st_size) + " " + std::to_string(status.st_mtim.tv_sec) + "." +
         std::to_string(status.st_mtim.tv_nsec) + "\n";
}

uint64_t StateOf(const std::string &text) {
  const SongKey key = MakeSongKey(text);
  uint64_t state = 0;
  std::memcpy(&state, key.data(), sizeof state);
  return state;
}

std::string HexOf(const PictureHash &hash) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const uint8_t byte : hash) {
    text += {kDigits[byte >> 4U], kDigits[byte & 0xFU]};
  }
  return text;
}

PictureHash HashOfHex(const std::string &text) {
  PictureHash hash{};
  for (std::size_t i = 0; i < hash.size(); ++i) {
    hash[i] = static_cast<uint8_t>(std::stoul(text.substr(2 * i, 2), nullptr, 16));
  }
  return hash;
}

/// The bytes that all covers may take, keep_mib in [covers] of the configuration.
uint64_t MostBytes() {
  constexpr int64_t kDefaultMib = 512, kMostMib = int64_t{1} << 30U;
  const std::optional<std::string> value = system::Setting("covers", "keep_mib");
  const std::optional<int64_t> number = value ? text::ParseInteger(*value) : kDefaultMib;
  const bool fits = number && *number >= 0 && *number <= kMostMib;
  return static_cast<uint64_t>(fits ? *number : kDefaultMib) << 20U;
}

/// Whether a file that is changed once more within the same moment would be told from this one.
bool IsSettled(const struct stat &status, time_t now) {
  constexpr time_t kMomentSeconds = 2;
  return status.st_mtim.tv_sec < now - kMomentSeconds || status.st_mtim.tv_sec > now;
}

/// Whether the tool was ended by what it read, and not by the machine.
bool IsFault(int signal) {
  return signal == SIGXCPU || signal == SIGSEGV || signal == SIGBUS || signal == SIGABRT ||
         signal == SIGILL || signal == SIGFPE || signal == SIGSYS;
}

/// How the tool did.
struct Made {
  enum class Outcome { kDone, kNone, kUnreadable, kFailed };
  Outcome outcome = Outcome::kFailed;
  std::string hash; ///< of what was done
};
using Outcome = Made::Outcome;

class CoverSearch {
public:
  CoverSearch(const index::Song &song, const accounts::Account &user, OpenFile file)
      : song_(song), user_(user), folder_(files::FolderOf(song.path)), file_(std::move(file)),
        key_(MakeSongKey(std::to_string(song.owner) + " " + TextOf(file_.status) + song.path)) {
    has_folder_ = stat(folder_.c_str(), &folder_status_) == 0;
  }

  /// What was found the last time, if that still holds.
  std::optional<FoundPicture> Known() {
    std::optional<FoundPicture> found = FindPicture(TablePath(), key_);
    return found && (found->kind == PictureKind::kEmbedded ||
                     found->state == CurrentState(found->name))
               ? found
               : std::nullopt;
  }

  /// Makes the cover and remembers it. Nothing when that failed for now.
  std::optional<FoundPicture> Make() {
    FoundPicture found;
    Made made = Run({"song", song_.type}, file_.file.get());
    found.kind = PictureKind::kEmbedded;
    if (made.outcome == Outcome::kNone || made.outcome == Outcome::kUnreadable) {
      made = MakeOfPictureBeside(found);
    }
    if (made.outcome == Outcome::kFailed) {
      return std::nullopt;
    }
    if (made.outcome == Outcome::kDone) {
      found.hash = HashOfHex(made.hash);
    } else {
      found.kind = PictureKind::kNone;
    }
    Remember(found);
    return found;
  }

private:
  /// The picture `name` in the folder, which has to lie in the song's own library. One that cannot
  /// be reached is none for now.
  std::optional<OpenFile> OpenBeside(const std::string &name) {
    try {
      std::optional<OpenFile> picture = OpenInLibraries(folder_ + "/" + name, user_, kPurpose);
      return picture && IsInSongsLibrary(picture->file) ? std::move(picture) : std::nullopt;
    } catch (const std::system_error &error) {
      system::LogFailure(kPurpose, error.what());
      is_settled_ = false;
      return std::nullopt;
    }
  }

  [[nodiscard]] bool IsInSongsLibrary(const files::FileDescriptor &file) const {
    const std::optional<std::string> library = accounts::LibraryFolder(song_.owner);
    const std::optional<std::string> real = library ? accounts::RealPath(*library) : std::nullopt;
    return real && accounts::IsWithin(RealPathOf(file), *real);
  }

  /// Of the folder, and of the picture `name` in it if there is a name.
  uint64_t CurrentState(const std::string &name) {
    const std::optional<OpenFile> picture = name.empty() ? std::nullopt : OpenBeside(name);
    return StateOf(TextOf(folder_status_) + (picture ? TextOf(picture->status) : ""));
  }

  Made MakeOfPictureBeside(FoundPicture &found) {
    found.kind = PictureKind::kBeside;
    found.name = PictureBeside(folder_).value_or("");
    const std::optional<OpenFile> picture =
        found.name.empty() ? std::nullopt : OpenBeside(found.name);
    found.state = StateOf(TextOf(folder_status_) + (picture ? TextOf(picture->status) : ""));
    if (!picture) {
      return {Outcome::kNone, {}};
    }
    is_settled_ = IsSettled(picture->status, time(nullptr));
    return Run({"picture"}, picture->file.get());
  }

  void Remember(const FoundPicture &found) const {
    const time_t now = time(nullptr);
    if (has_folder_ && is_settled_ && IsSettled(file_.status, now) &&
        IsSettled(folder_status_, now)) {
      files::MakeFolders(system::kCovers);
      RememberPicture(TablePath(), key_, found);
    }
  }

  Made Run(const std::vector<std::string> &arguments, int input) const {
    system::ChildProgram tool(system::kCoverTool, arguments, input, {.nice = kNice});
    const std::optional<std::string> bytes = tool.ReadAll(kLargestAnswer, kPatienceForTool);
    if (!bytes) {
      return Fail("making it takes too long");
    }
    const system::ChildEnd end = tool.Wait();
    constexpr int kNoPicture = 3, kUnreadable = 4; // platform/tools/cover/main.cpp
    if (end.exit_status == kNoPicture) {
      return {Outcome::kNone, {}};
    }
    if (end.exit_status == kUnreadable || IsFault(end.signal)) {
      return {Outcome::kUnreadable, {}};
    }
    const std::optional<MadeCovers> covers =
        end.exit_status == 0 ? ParseCovers(*bytes) : std::nullopt;
    return covers ? Keep(*covers) : Fail("the program cover failed");
  }

  Made Keep(const MadeCovers &covers) const {
    const CoverName name{song_.owner, covers.hash};
    for (std::size_t i = 0; i < kCoverSizes.size(); ++i) {
      if (!KeepCover(system::kCovers, name, kCoverSizes[i], covers.jpegs[i], MostBytes())) {
        return Fail(std::strerror(errno));
      }
    }
    return {Outcome::kDone, covers.hash};
  }

  Made Fail(const char *why) const {
    system::LogFailure(("a cover of " + song_.path).c_str(), why);
    return {Outcome::kFailed, {}};
  }

  const index::Song &song_;
  const accounts::Account &user_;
  std::string folder_;
  OpenFile file_;
  SongKey key_;
  struct stat folder_status_ {};
  bool has_folder_ = false;
  bool is_settled_ = true; ///< the picture beside, if one is used
};

/// What a picture comes to for who asks.
std::variant<CoverName, NoCover> ResultOf(const index::Song &song, const FoundPicture &found) {
  if (found.kind == PictureKind::kNone) {
    return NoCover::kNoPicture;
  }
  return CoverName{song.owner, HexOf(found.hash)};
}

} // namespace

std::variant<CoverName, NoCover> CoverOf(const index::Song &song, const accounts::Account &user,
                                         int size) {
  std::optional<OpenFile> file = OpenInLibraries(song.path, user, kPurpose);
  if (!file) {
    return NoCover::kNoSong;
  }
  CoverSearch search(song, user, *std::move(file));
  const auto is_usable = [&](const FoundPicture &found) {
    return found.kind == PictureKind::kNone ||
           OpenCover(system::kCovers, {song.owner, HexOf(found.hash)}, size);
  };
  std::optional<FoundPicture> found = search.Known();
  if (found && is_usable(*found)) {
    return ResultOf(song, *found);
  }
  const auto slot = system::TakeSlot("cover", kAtOnce, kPatienceForSlot);
  if (!slot) {
    return NoCover::kBusy;
  }
  // Somebody else may have made it meanwhile.
  found = search.Known();
  if (!found || !is_usable(*found)) {
    found = search.Make();
  }
  return found ? ResultOf(song, *found) : NoCover::kFailed;
}

} // namespace vexo::media
