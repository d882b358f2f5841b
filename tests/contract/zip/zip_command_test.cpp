// The program itself, as a download starts it.

#include "zip/archive_folder.h"

namespace {

class ZipCommandTest : public ArchiveFolderTest {
protected:
  static CommandResult Zip(const std::string &options, const std::string &environment = "") {
    return RunCommand("(cat names | " + environment + " " ZIP_TOOL " " + options + " > " +
                      archive() + ")");
  }
};

TEST_F(ZipCommandTest, ArchivesForTheUserOfTheRequest) {
  WriteBytes(Personal("ann") + "/own.mp3", "own");
  std::filesystem::create_symlink(Personal("ann") + "/own.mp3", "own.mp3");
  WriteBytes("names", "own.mp3\n");
  EXPECT_EQ(Zip("-q -0 -G -r  -@ - ", "REMOTE_USER=ann").status, 0);
  EXPECT_EQ(Names(), "own.mp3\n");
  EXPECT_EQ(Zip("-q -0 -G -r  -@ - ", "REMOTE_USER=bob").status, 0);
  EXPECT_EQ(Names(), "");
}

TEST_F(ZipCommandTest, SaysWhichNameItRefused) {
  std::filesystem::create_symlink("/etc/passwd", "x\x1B.mp3");
  WriteBytes("names", "x\x1B.mp3\n");
  const CommandResult result = Zip("-q -0 -G -r -@ -");
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.output.find("not a song of the user's libraries: x\\x1b.mp3"), std::string::npos)
      << result.output;
}

TEST_F(ZipCommandTest, APlaylistInTheCodePageFollowsTheNames) {
  WriteBytes(DEVICE_ROOT "/etc/vexo/playlist.conf", "[texts]\ncode_page=932\n");
  // The second byte of the letter is that of a backslash in this code page.
  LinkSong("\u8868:.mp3", "a");
  WriteBytes("playlist.m3u", "\x95\x5C:.mp3\n\x95\x5C;.mp3\n");
  WriteBytes("playlist.m3u8", "\u8868:.mp3\n\u8868;.mp3\n");
  WriteBytes("names", "\u8868:.mp3\n\u8868;.mp3\nplaylist.m3u\nplaylist.m3u8\n");
  EXPECT_EQ(Zip("-q -0 -G -r -@ -").status, 0);
  EXPECT_EQ(RunCommand("unzip -p " + archive() + " playlist.m3u").output,
            "\x95\x5C_.mp3\n\x95\x5C;.mp3\n");
  EXPECT_EQ(RunCommand("unzip -p " + archive() + " playlist.m3u8").output,
            "\u8868_.mp3\n\u8868;.mp3\n");
}

TEST_F(ZipCommandTest, OptionsItDoesNotServeAreRefused) {
  WriteBytes("names", "");
  for (const char *options : {"", "-q -0 -r -@ -", "-q -G -r -@ -", "-0 -G -r -", "-0G@",
                              "-0G@ out.zip", "-0G@ - more", "-9 -0 -G -@ -", "-0 -0 -0 -"}) {
    const CommandResult result = Zip(options);
    EXPECT_EQ(result.status, 2) << options;
    EXPECT_NE(result.output.find("usage: zip -q -0 -G -r -@ -\n"), std::string::npos);
    EXPECT_EQ(ReadBytes(archive()), "");
  }
}

TEST_F(ZipCommandTest, AReaderThatGoesAwayEndsIt) {
  LinkSong("a.mp3", std::string(std::size_t{1} << 22U, 'a'));
  WriteBytes("names", "a.mp3\n");
  const CommandResult result = RunCommand("bash -c 'trap \"\" PIPE; cat names | " ZIP_TOOL
                                          " -q -0 -G -r -@ - | head -c 1 >/dev/null; "
                                          "echo ${PIPESTATUS[1]}'");
  EXPECT_NE(result.output.find("cannot write the archive"), std::string::npos) << result.output;
  EXPECT_EQ(result.output.back(), '\n');
  EXPECT_EQ(result.output.substr(result.output.size() - 2), "1\n");
}

TEST_F(ZipCommandTest, MemoryDoesNotGrowWithTheFile) {
  LinkSong("a.mp3", "");
  std::filesystem::resize_file(library() + "/a.mp3", uint64_t{256} << 20U);
  WriteBytes("names", "a.mp3\n");
  const CommandResult result = RunCommand(
      "python3 -c 'import resource, subprocess\n"
      "subprocess.run([\"" ZIP_TOOL "\", \"-q\", \"-0\", \"-G\", \"-r\", \"-@\", \"-\"], "
      "stdin=open(\"names\"), stdout=open(\"/dev/null\", \"w\"), check=True)\n"
      "print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss < 48 * 1024)'");
  EXPECT_EQ(result.output, "True\n");
}

} // namespace
