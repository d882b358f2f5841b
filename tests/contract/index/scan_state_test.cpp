// The lock of scans and their state.
#include "index/scan_state.h"
#include "support/device_root.h"
#include "system/paths.h"
#include <fstream>
#include <gtest/gtest.h>

namespace vexo::index {
namespace {

class ScanStateTest : public DeviceRootTest {
protected:
  static void Write(const std::string &text) {
    std::ofstream(std::string(system::kIndexFile) + ".scan.state") << text;
  }
};

TEST_F(ScanStateTest, IsReadAsItWasWritten) {
  EXPECT_FALSE(ReadScanState());
  ScanState state;
  state.started = 1'700'000'000;
  state.library = "anna";
  state.files_read = 3;
  state.files_to_read = 12;
  state.added = 1;
  state.changed = 2;
  state.moved = 4;
  state.gone = 5;
  state.unchanged = 6;
  state.unreadable = 7;
  for (const bool complete : {true, false}) {
    state.complete = complete;
    state.finished += 9;
    WriteScanState(state);
    const std::optional<ScanState> read = ReadScanState();
    ASSERT_TRUE(read);
    EXPECT_EQ(read->started, state.started);
    EXPECT_EQ(read->finished, state.finished);
    EXPECT_EQ(read->library, "anna");
    EXPECT_EQ(read->files_read, 3);
    EXPECT_EQ(read->files_to_read, 12);
    EXPECT_EQ(read->added + 10 * read->changed + 100 * read->moved, 421);
    EXPECT_EQ(read->gone + 10 * read->unchanged + 100 * read->unreadable, 765);
    EXPECT_EQ(read->complete, complete);
  }
}

TEST_F(ScanStateTest, WhatIsNoneIsNone) {
  for (const char *text : {"", "scan 1\n", "scan 2\n1\n", "scan 1\n1\n2\nx\n", "scan 1\n-1\n"}) {
    Write(text);
    EXPECT_FALSE(ReadScanState()) << text;
  }
}

TEST_F(ScanStateTest, OneScanAtATime) {
  EXPECT_FALSE(IsScanning());
  {
    const ScanLock one;
    EXPECT_TRUE(one.IsHeld());
    EXPECT_TRUE(IsScanning());
    EXPECT_FALSE(ScanLock().IsHeld());
  }
  EXPECT_FALSE(IsScanning());
  EXPECT_TRUE(ScanLock().IsHeld());
}

} // namespace
} // namespace vexo::index
