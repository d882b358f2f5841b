#include "files/file_descriptor.h"
#include "support/temporary_folder.h"
#include "zip/stored_zip.h"
#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <system_error>

using vexo::files::FileDescriptor;
using vexo::zip::StoredZip;

namespace {

constexpr std::time_t kNewYear2024 = 1704067200; // 2024-01-01 00:00:00 UTC

class StoredZipTest : public ::testing::Test {
protected:
  void SetUp() override {
    setenv("TZ", "UTC", 1);
    tzset();
  }

  [[nodiscard]] FileDescriptor Output() const {
    return FileDescriptor(open((folder_ / "zip").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666));
  }
  [[nodiscard]] FileDescriptor File(const std::string &content) const {
    WriteBytes(folder_ / "file", content);
    return FileDescriptor(open((folder_ / "file").c_str(), O_RDONLY | O_CLOEXEC));
  }
  [[nodiscard]] std::string Written() const { return ReadBytes(folder_ / "zip"); }

  /// An archive of one file of that name.
  [[nodiscard]] std::string ArchiveOf(const std::string &name, const std::string &content,
                                      std::time_t modified = kNewYear2024) const {
    const FileDescriptor output = Output();
    StoredZip zip(output.get());
    zip.Add(name, File(content).get(), content.size(), modified);
    zip.Finish();
    return Written();
  }

  TemporaryFolder folder_;
};

/// The little-endian number of two bytes at `position`.
unsigned Number16(const std::string &bytes, std::size_t position) {
  return static_cast<unsigned char>(bytes.at(position)) |
         static_cast<unsigned>(static_cast<unsigned char>(bytes.at(position + 1))) << 8U;
}

std::string Bytes(const char *text, std::size_t count) { return {text, count}; }
#define BYTES(literal) Bytes(literal, sizeof(literal) - 1)

TEST_F(StoredZipTest, AnArchiveOfOneFileToTheByte) {
  const std::string time = BYTES("UT\x05\x00\x01\x80\x00\x92\x65");
  const std::string local = BYTES("PK\x03\x04\x0A\x00\x08\x00\x00\x00\x00\x00\x21\x58"
                                  "\x00\x00\x00\x00\x09\x00\x00\x00\x09\x00\x00\x00"
                                  "\x05\x00\x09\x00"
                                  "a.mp3") +
                            time + "123456789" +
                            BYTES("PK\x07\x08\x26\x39\xF4\xCB\x09\x00\x00\x00\x09\x00\x00\x00");
  const std::string central = BYTES("PK\x01\x02\x0A\x03\x0A\x00\x08\x00\x00\x00\x00\x00\x21\x58"
                                    "\x26\x39\xF4\xCB\x09\x00\x00\x00\x09\x00\x00\x00"
                                    "\x05\x00\x09\x00\x00\x00\x00\x00\x00\x00"
                                    "\x00\x00\xA4\x81\x00\x00\x00\x00"
                                    "a.mp3") +
                              time;
  const std::string end = BYTES("PK\x05\x06\x00\x00\x00\x00\x01\x00\x01\x00"
                                "\x3C\x00\x00\x00\x45\x00\x00\x00\x00\x00");
  EXPECT_EQ(ArchiveOf("a.mp3", "123456789"), local + central + end);
}

TEST_F(StoredZipTest, AnArchiveThroughAPipeIsTheSame) {
  const std::string content(20000, 'c');
  const std::string expected = ArchiveOf("a.mp3", content);
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
  const FileDescriptor reader(ends[0]), writer(ends[1]);
  StoredZip zip(writer.get());
  zip.Add("a.mp3", File(content).get(), content.size(), kNewYear2024);
  zip.Finish();
  std::string received(expected.size() + 1, '\0');
  const ssize_t count = read(reader.get(), received.data(), received.size());
  EXPECT_EQ(received.substr(0, static_cast<std::size_t>(count)), expected);
}

TEST_F(StoredZipTest, BytesInMemoryAreStoredAsThoseOfAFileAre) {
  const std::string expected = ArchiveOf("a.mp3", "123456789");
  const FileDescriptor output = Output();
  StoredZip zip(output.get());
  zip.Add("a.mp3", "123456789", kNewYear2024);
  zip.Finish();
  EXPECT_EQ(Written(), expected);
}

TEST_F(StoredZipTest, AnArchiveOfNothingIsItsEndRecord) {
  const FileDescriptor output = Output();
  StoredZip(output.get()).Finish();
  EXPECT_EQ(Written(), BYTES("PK\x05\x06") + std::string(18, '\0'));
}

TEST_F(StoredZipTest, OnlyNamesOutsideAsciiAreFlaggedAsUtf8) {
  constexpr unsigned kDescriptor = 0x0008, kUtf8 = 0x0800;
  const struct {
    const char *description, *name;
    unsigned flags;
  } rows[] = {
      {"ASCII", "song.mp3", kDescriptor},
      {"Japanese", "\xE6\x9B\xB2.mp3", kDescriptor | kUtf8},
      {"two bytes a letter", "\xC3\xA9.mp3", kDescriptor | kUtf8},
      {"bytes that are not UTF-8", "\xE9.mp3", kDescriptor},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(Number16(ArchiveOf(row.name, ""), 6), row.flags) << row.description;
  }
}

TEST_F(StoredZipTest, TimesThatMsDosCannotHoldAreItsFirstDay) {
  constexpr unsigned kFirstOfJanuary1980 = 0x0021;
  EXPECT_EQ(Number16(ArchiveOf("a", "", 0), 12), kFirstOfJanuary1980);
}

TEST_F(StoredZipTest, TimesBeyond32BitsHaveNoExtraField) {
  EXPECT_EQ(Number16(ArchiveOf("a", "", std::time_t{1} << 31U), 28), 0U);
}

TEST_F(StoredZipTest, OfAFileThatGrewTheSizeFirstSeenIsStored) {
  const FileDescriptor output = Output();
  StoredZip zip(output.get());
  zip.Add("a", File("grown").get(), 2, kNewYear2024);
  zip.Finish();
  EXPECT_NE(Written().find("grPK\x07\x08"), std::string::npos);
}

TEST_F(StoredZipTest, AFileThatBecameShorterEndsTheArchiveBroken) {
  const FileDescriptor output = Output();
  StoredZip zip(output.get());
  EXPECT_THROW(zip.Add("a", File("short").get(), 6, kNewYear2024), std::runtime_error);
  EXPECT_EQ(Written().find("PK\x01\x02"), std::string::npos);
}

TEST_F(StoredZipTest, AFileThatCannotBeReadEndsTheArchiveBroken) {
  const FileDescriptor output = Output();
  const FileDescriptor directory(open("/", O_RDONLY | O_CLOEXEC));
  StoredZip zip(output.get());
  EXPECT_THROW(zip.Add("a", directory.get(), 1, kNewYear2024), std::system_error);
}

TEST_F(StoredZipTest, AFullDiskEndsTheArchive) {
  const FileDescriptor full(open("/dev/full", O_WRONLY | O_CLOEXEC));
  StoredZip zip(full.get());
  EXPECT_THROW(zip.Add("a", File("x").get(), 1, kNewYear2024), std::system_error);
  EXPECT_THROW(zip.Finish(), std::system_error);
}

TEST_F(StoredZipTest, ANameThatItsFieldCannotHoldIsRefused) {
  const FileDescriptor output = Output();
  StoredZip zip(output.get());
  EXPECT_THROW(zip.Add(std::string(65536, 'a'), File("").get(), 0, 0), std::runtime_error);
  EXPECT_EQ(Written(), "");
}

} // namespace
