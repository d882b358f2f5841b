#include "playlistctl/scan/tag_processes.h"

#include <csignal>
#include <gmock/gmock.h>
#include <map>
#include <stdexcept>
#include <unistd.h>

namespace vexo::tools {
namespace {

using ::testing::HasSubstr;
using ::testing::SizeIs;

/// A reader whose path tells what it is to do.
std::optional<index::Song> Obey(const std::string &path) {
  if (path.starts_with("crash")) {
    signal(SIGABRT, SIG_DFL);
    raise(SIGABRT);
  } else if (path.starts_with("throw")) {
    throw std::runtime_error("thrown for " + path);
  } else if (path.starts_with("exit")) {
    _exit(3);
  } else if (path.starts_with("work")) {
    for (volatile bool forever = true; forever;) {
    }
  } else if (path.starts_with("hang")) {
    pause();
  } else if (path.starts_with("none")) {
    return std::nullopt;
  }
  index::Song song;
  song.title = path;
  return song;
}

struct Outcome {
  std::optional<index::Song> song;
  std::string why;
  bool may_pass = false;
};

std::map<std::string, Outcome>
ReadAll(const std::vector<std::string> &paths, unsigned processes,
        std::chrono::milliseconds patience = std::chrono::minutes(1)) {
  std::map<std::string, Outcome> outcomes;
  ReadAllTags(
      {Obey, processes, patience, std::chrono::milliseconds(200)}, paths,
      [&](std::size_t position, std::optional<index::Song> song, const TagFailure &failure) {
        EXPECT_FALSE(outcomes.contains(paths[position])) << "told twice";
        outcomes[paths[position]] = {std::move(song), failure.why, failure.may_pass};
      });
  return outcomes;
}

std::vector<std::string> Good(int count) {
  std::vector<std::string> paths;
  paths.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    paths.push_back("good" + std::to_string(i));
  }
  return paths;
}

TEST(TagProcesses, EveryFileHasItsResult) {
  for (const unsigned processes : {1U, 4U}) {
    const auto outcomes = ReadAll(Good(500), processes);
    ASSERT_THAT(outcomes, SizeIs(500));
    for (const auto &[path, outcome] : outcomes) {
      ASSERT_TRUE(outcome.song) << path;
      EXPECT_EQ(outcome.song->title, path);
    }
  }
}

TEST(TagProcesses, NoFilesNeedNoProcess) { EXPECT_TRUE(ReadAll({}, 4).empty()); }

TEST(TagProcesses, NoProcessesAreOne) { EXPECT_THAT(ReadAll(Good(3), 0), SizeIs(3)); }

TEST(TagProcesses, AFileThatCannotBeReadHasAReason) {
  const auto outcomes = ReadAll({"none", "throw"}, 1);
  EXPECT_FALSE(outcomes.at("none").song);
  EXPECT_THAT(outcomes.at("none").why, HasSubstr("no audio"));
  EXPECT_FALSE(outcomes.at("none").may_pass);
  EXPECT_EQ(outcomes.at("throw").why, "thrown for throw");
  EXPECT_TRUE(outcomes.at("throw").may_pass);
}

TEST(TagProcesses, AFileThatEndsItsReaderCostsOnlyItself) {
  std::vector<std::string> paths = Good(40);
  paths.insert(paths.begin() + 5, "crash1");
  paths.insert(paths.begin() + 6, "crash2");
  paths.insert(paths.begin() + 20, "exit");
  paths.emplace_back("crash3");
  for (const unsigned processes : {1U, 3U}) {
    const auto outcomes = ReadAll(paths, processes);
    ASSERT_THAT(outcomes, SizeIs(paths.size()));
    for (const auto &[path, outcome] : outcomes) {
      EXPECT_EQ(outcome.song.has_value(), path.starts_with("good")) << path;
    }
    EXPECT_THAT(outcomes.at("crash1").why, HasSubstr("ended a process (Aborted)"));
    EXPECT_THAT(outcomes.at("exit").why, HasSubstr("ended a process"));
  }
}

TEST(TagProcesses, AFileThatTakesTooMuchOfAProcessorIsGivenUp) {
  std::vector<std::string> paths = Good(10);
  paths.insert(paths.begin() + 3, "work");
  const auto outcomes = ReadAll(paths, 2);
  ASSERT_THAT(outcomes, SizeIs(11));
  EXPECT_THAT(outcomes.at("work").why, HasSubstr("took too much time"));
  EXPECT_FALSE(outcomes.at("work").may_pass);
  EXPECT_TRUE(outcomes.at("good9").song);
}

TEST(TagProcesses, AFileThatTakesTooLongIsGivenUp) {
  std::vector<std::string> paths = Good(10);
  paths.insert(paths.begin() + 3, "hang");
  const auto outcomes = ReadAll(paths, 2, std::chrono::milliseconds(300));
  ASSERT_THAT(outcomes, SizeIs(11));
  EXPECT_FALSE(outcomes.at("hang").song);
  EXPECT_THAT(outcomes.at("hang").why, HasSubstr("too long"));
  EXPECT_TRUE(outcomes.at("hang").may_pass);
  EXPECT_TRUE(outcomes.at("good9").song);
}

} // namespace
} // namespace vexo::tools
