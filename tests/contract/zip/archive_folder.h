#pragma once
// What the tests of archives share: a working folder as a download makes it, and four readers.

#include "accounts/accounts.h"
#include "support/device_root.h"
#include "zip/archive_names.h"
#include <array>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

/// What a shell command printed, errors among it, and its exit status.
struct CommandResult {
  int status = -1;
  std::string output;
};

inline CommandResult RunCommand(const std::string &command) {
  CommandResult result;
  FILE *stream = popen((command + " 2>&1").c_str(), "r");
  if (stream == nullptr) {
    return result;
  }
  std::array<char, 4096> buffer{};
  for (std::size_t count; (count = fread(buffer.data(), 1, buffer.size(), stream)) > 0;) {
    result.output.append(buffer.data(), count);
  }
  const int status = pclose(stream);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

/// Each test stands in an empty folder of the device root, with the accounts "ann" and "bob", who
/// have personal libraries, and "cat", whose personal library is off.
class ArchiveFolderTest : public DeviceRootTest {
protected:
  void SetUp() override {
    DeviceRootTest::SetUp();
    std::filesystem::create_directories(folder());
    std::filesystem::current_path(folder());
    for (const char *name : {"ann", "bob", "cat"}) {
      std::filesystem::create_directories(Personal(name));
      vexo::accounts::Account account;
      account.name = name;
      account.personal_library = account.name != "cat";
      vexo::accounts::AddAccount(account);
    }
  }
  void TearDown() override { std::filesystem::current_path("/"); }

  static std::string folder() { return DEVICE_ROOT "/tmp/audiodl"; }
  static std::string archive() { return DEVICE_ROOT "/archive.zip"; }
  static std::string Personal(const std::string &user) {
    return std::string(vexo::system::kHomes) + "/" + user + "/music";
  }

  /// A song of the shared library, and a link to it in the working folder.
  static void LinkSong(const std::string &name, const std::string &content) {
    WriteBytes(library() + "/" + name, content);
    std::filesystem::create_symlink(library() + "/" + name, name);
  }

  static void Archive(const std::string &names, const std::string &user = "ann") {
    const int output = open(archive().c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    std::istringstream lines(names);
    vexo::zip::ArchiveNames(lines, output, user);
    close(output);
  }

  /// Runs statements of Python with the archive open as `z`; what they print.
  static std::string Python(const std::string &statements) {
    return RunCommand("python3 -c 'import zipfile\nz = zipfile.ZipFile(\"" + archive() + "\")\n" +
                      statements + "'")
        .output;
  }

  /// The names in the archive, one a line.
  static std::string Names() { return Python("for n in z.namelist(): print(n)"); }

  /// Every reader takes the whole archive without a word of warning.
  static void ExpectReadersAreContent() {
    const CommandResult unzip = RunCommand("unzip -tqq " + archive());
    EXPECT_EQ(unzip.status, 0) << unzip.output;
    EXPECT_EQ(unzip.output, "");
    const CommandResult bsdtar =
        RunCommand("LC_ALL=C.UTF-8 bsdtar -xOf " + archive() + " >/dev/null");
    EXPECT_EQ(bsdtar.status, 0) << bsdtar.output;
    EXPECT_EQ(bsdtar.output, "");
    const CommandResult seven_zip = RunCommand("7zz t " + archive());
    EXPECT_EQ(seven_zip.status, 0);
    EXPECT_NE(seven_zip.output.find("Everything is Ok"), std::string::npos) << seven_zip.output;
    EXPECT_EQ(seven_zip.output.find("arning"), std::string::npos) << seven_zip.output;
    EXPECT_EQ(Python("print(z.testzip())"), "None\n");
  }
};
