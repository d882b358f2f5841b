#include "zip/archive_folder.h"
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>
#include <thread>

namespace fs = std::filesystem;

namespace {

using ArchiveNamesTest = ArchiveFolderTest;

TEST_F(ArchiveNamesTest, EntriesStandInTheOrderOfTheNames) {
  for (const char *name : {"c.mp3", "a.mp3", "b.mp3"}) {
    LinkSong(name, std::string("song ") + name);
  }
  Archive("b.mp3\nc.mp3\na.mp3\n");
  EXPECT_EQ(Names(), "b.mp3\nc.mp3\na.mp3\n");
  EXPECT_EQ(Python("print(z.read(\"c.mp3\"))"), "b'song c.mp3'\n");
}

TEST_F(ArchiveNamesTest, EntriesAreStoredAsTheyAre) {
  LinkSong("a.mp3", std::string(100000, 'a'));
  Archive("a.mp3\n");
  EXPECT_EQ(Python("i = z.infolist()[0]; print(i.compress_type, i.compress_size, i.file_size)"),
            "0 100000 100000\n");
}

TEST_F(ArchiveNamesTest, ANameTwiceIsStoredOnce) {
  LinkSong("a.mp3", "a");
  Archive("a.mp3\na.mp3\n./a.mp3\n");
  EXPECT_EQ(Names(), "a.mp3\n");
}

TEST_F(ArchiveNamesTest, TheLastNameNeedsNoLineBreak) {
  LinkSong("a.mp3", "a");
  Archive("a.mp3");
  EXPECT_EQ(Names(), "a.mp3\n");
}

TEST_F(ArchiveNamesTest, NamesThatAreNotThereAreSkipped) {
  LinkSong("a.mp3", "a");
  Archive("http://radio.example/stream\n\na.mp3\ngone.mp3\n");
  EXPECT_EQ(Names(), "a.mp3\n");
}

TEST_F(ArchiveNamesTest, TheTwoPlaylistsOfTheRequestAreStored) {
  WriteBytes("playlist.m3u", "a");
  WriteBytes("playlist.m3u8", "b");
  WriteBytes("playlist.txt", "c");
  Archive("playlist.m3u\nplaylist.m3u8\nplaylist.txt\n");
  EXPECT_EQ(Names(), "playlist.m3u\nplaylist.m3u8\n");
}

TEST_F(ArchiveNamesTest, APlaylistOfTheRequestIsNoLink) {
  WriteBytes(DEVICE_ROOT "/secret", "secret");
  fs::create_symlink(DEVICE_ROOT "/secret", "playlist.m3u");
  Archive("playlist.m3u\n");
  EXPECT_EQ(Names(), "");
}

TEST_F(ArchiveNamesTest, SongsOfTheSharedLibraryAndOfTheUserAreStored) {
  LinkSong("shared.mp3", "shared");
  WriteBytes(Personal("ann") + "/own.mp3", "own");
  fs::create_symlink(Personal("ann") + "/own.mp3", "own.mp3");
  Archive("shared.mp3\nown.mp3\n", "ann");
  EXPECT_EQ(Names(), "shared.mp3\nown.mp3\n");
}

TEST_F(ArchiveNamesTest, AUserThatIsNotKnownGetsSharedSongsOnly) {
  LinkSong("shared.mp3", "shared");
  WriteBytes(Personal("ann") + "/own.mp3", "own");
  fs::create_symlink(Personal("ann") + "/own.mp3", "own.mp3");
  for (const char *user : {"", "nobody", "cat"}) {
    Archive("shared.mp3\nown.mp3\n", user);
    EXPECT_EQ(Names(), "shared.mp3\n") << user;
  }
}

TEST_F(ArchiveNamesTest, NothingLeadsOutOfTheLibraries) {
  WriteBytes(DEVICE_ROOT "/secret", "secret");
  WriteBytes(Personal("bob") + "/bobs.mp3", "secret");
  WriteBytes(Personal("cat") + "/cats.mp3", "secret");
  fs::create_directories(DEVICE_ROOT "/library2");
  WriteBytes(DEVICE_ROOT "/library2/beside.mp3", "secret");
  fs::create_directories(library() + "/album");
  WriteBytes(library() + "/album/a.mp3", "a");
  mkfifo((library() + "/fifo").c_str(), 0666);
  const struct {
    const char *name;
    std::string target;
  } rows[] = {
      {"absolute", DEVICE_ROOT "/secret"},
      {"relative", "../../secret"},
      {"dots", library() + "/../secret"},
      {"other-user", Personal("bob") + "/bobs.mp3"},
      {"library-that-is-off", Personal("cat") + "/cats.mp3"},
      {"folder-of-a-similar-name", DEVICE_ROOT "/library2/beside.mp3"},
      {"folder", library() + "/album"},
      {"library-itself", library()},
      {"fifo", library() + "/fifo"},
      {"device", "/dev/zero"},
      {"process", "/proc/self/environ"},
      {"descriptor", "/proc/self/fd/0"},
      {"system", "/etc/passwd"},
      {"accounts", vexo::system::kAccountsFile},
  };
  std::string names = "/etc/passwd\n../../secret\n/proc/self/environ\n.\n..\n/\n";
  for (const auto &row : rows) {
    fs::create_symlink(row.target, row.name);
    fs::create_symlink(row.name, std::string("link-to-") + row.name);
    fs::create_symlink(row.target, library() + "/" + row.name + ".mp3");
    fs::create_symlink(library() + "/" + row.name + ".mp3", std::string(row.name) + ".mp3");
    names += std::string(row.name) + "\nlink-to-" + row.name + "\n" + row.name + ".mp3\n";
  }
  Archive(names);
  EXPECT_EQ(Names(), "");
  EXPECT_EQ(ReadBytes(archive()).find("secret"), std::string::npos);
}

TEST_F(ArchiveNamesTest, AnAbsoluteNameIsStoredAsARelativeOne) {
  LinkSong("a.mp3", "a");
  Archive(library() + "/a.mp3\n");
  EXPECT_EQ(Names(), (library() + "/a.mp3\n").substr(1));
}

TEST_F(ArchiveNamesTest, NamesThatWouldUnpackOutsideAreSkipped) {
  LinkSong("a.mp3", "a");
  fs::create_directories("sub");
  Archive("../audiodl/a.mp3\nsub/../a.mp3\n" + std::string("a.mp3\0x\n", 8));
  EXPECT_EQ(Names(), "");
}

TEST_F(ArchiveNamesTest, AnAddressThatIsTooLongForAFileIsSkipped) {
  LinkSong("a.mp3", "a");
  Archive("http://radio.example/" + std::string(300, 'x') + "\na.mp3\nhttp://" +
          std::string(5000, 'x') + "\n");
  EXPECT_EQ(Names(), "a.mp3\n");
}

TEST_F(ArchiveNamesTest, ANameThatMayHideASongEndsTheArchiveBroken) {
  LinkSong("a.mp3", "a");
  fs::create_symlink("loop.mp3", "loop.mp3");
  EXPECT_THROW(Archive("a.mp3\nloop.mp3\n"), std::system_error);
  EXPECT_EQ(ReadBytes(archive()).find("PK\x05\x06"), std::string::npos);
}

TEST_F(ArchiveNamesTest, AListThatEndsBeforeThePlaylistsBrokeOff) {
  LinkSong("a.mp3", "a");
  LinkSong("b.mp3", "b");
  WriteBytes("playlist.m3u8", "a.mp3\nb.mp3\n");
  EXPECT_THROW(Archive("a.mp3\n"), std::runtime_error);
  EXPECT_EQ(ReadBytes(archive()).find("PK\x05\x06"), std::string::npos);
}

TEST_F(ArchiveNamesTest, WhatPartsFoldersOrNamesDrivesElsewhereIsReplaced) {
  const struct {
    const char *description, *name, *entry;
  } rows[] = {
      {"folders above", "..\\..\\x.mp3", ".._.._x.mp3"},
      {"a folder below", "a\\x.mp3", "a_x.mp3"},
      {"a drive", "C:\\x.mp3", "C__x.mp3"},
      {"a drive's folder", "C:x.mp3", "C_x.mp3"},
      {"a stream of a file", "x.mp3:y.exe", "x.mp3_y.exe"},
      {"what only may not be in names there", "Who? *\"<|>.mp3", "Who? *\"<|>.mp3"},
  };
  for (const auto &row : rows) {
    LinkSong(row.name, row.name);
    Archive(std::string(row.name) + "\n");
    EXPECT_EQ(Names(), std::string(row.entry) + "\n") << row.description;
  }
}

TEST_F(ArchiveNamesTest, SongsWhoseNamesBecomeAlikeAreAllStored) {
  std::string names;
  for (const char *name : {"a:b", "a\\b", "a_b", "0_a_b"}) {
    LinkSong(name, name);
    names += std::string(name) + "\n";
  }
  Archive(names + "a:b\n");
  EXPECT_EQ(Names(), "a_b\n0_a_b\n1_a_b\n0_0_a_b\n");
  EXPECT_EQ(Python("for n in z.namelist(): print(z.read(n).decode())"), names);
}

TEST_F(ArchiveNamesTest, ThePlaylistsHaveTheNamesOfTheArchive) {
  LinkSong("a:b.mp3", "1");
  LinkSong("plain.mp3", "2");
  const std::string list = "a:b.mp3\nhttp://radio/a:b.mp3\nplain.mp3\ngone:.mp3\na:b.mp3\n";
  WriteBytes("playlist.m3u", list);
  WriteBytes("playlist.m3u8", list);
  Archive(list + "playlist.m3u\nplaylist.m3u8\n");
  EXPECT_EQ(Names(), "a_b.mp3\nplain.mp3\nplaylist.m3u\nplaylist.m3u8\n");
  for (const std::string name : {"playlist.m3u", "playlist.m3u8"}) {
    EXPECT_EQ(Python("print(z.read(\"" + name + "\").decode(), end=\"\")"),
              "a_b.mp3\nhttp://radio/a:b.mp3\nplain.mp3\ngone:.mp3\na_b.mp3\n");
  }
  ExpectReadersAreContent();
}

TEST_F(ArchiveNamesTest, NoSongTakesTheNameOfAPlaylist) {
  WriteBytes(library() + "/a.mp3", "song");
  fs::create_symlink(library() + "/a.mp3", "playlist.m3u8");
  Archive("./playlist.m3u8\n");
  EXPECT_EQ(Names(), "0_playlist.m3u8\n");
}

TEST_F(ArchiveNamesTest, ADotsNameIsANameLikeAnyOther) {
  LinkSong("..a.mp3", "a");
  LinkSong("b..", "b");
  Archive("..a.mp3\nb..\n");
  EXPECT_EQ(Names(), "..a.mp3\nb..\n");
}

TEST_F(ArchiveNamesTest, ASongThatShrinksWhileItIsReadEndsTheArchiveBroken) {
  LinkSong("a.mp3", std::string(std::size_t{1} << 22U, 'a'));
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
  bool failed = false;
  std::thread writer([&] {
    std::istringstream names("a.mp3\n");
    try {
      vexo::zip::ArchiveNames(names, ends[1], "ann");
    } catch (const std::runtime_error &) {
      failed = true;
    }
    close(ends[1]);
  });
  std::string received(1, '\0');
  EXPECT_EQ(read(ends[0], received.data(), 1), 1);
  fs::resize_file(library() + "/a.mp3", 0);
  std::array<char, 65536> buffer{};
  for (ssize_t count; (count = read(ends[0], buffer.data(), buffer.size())) > 0;) {
    received.append(buffer.data(), static_cast<std::size_t>(count));
  }
  writer.join();
  close(ends[0]);
  EXPECT_TRUE(failed);
  EXPECT_EQ(received.find("PK\x01\x02"), std::string::npos);
  EXPECT_EQ(received.find("PK\x05\x06"), std::string::npos);
}

} // namespace
