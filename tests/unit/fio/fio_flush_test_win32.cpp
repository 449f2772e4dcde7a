#include "support/fio/fio_flush.h"

#include "support/fio/fio_append_file.h"
#include "tests/harness/scanner_win32.h"
#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

using OPENING = FIO_APPEND_FILE::OPENING;
using namespace std::chrono_literals;

TEST(FlushHandle, WaitsForAScanner)
{
    const TEMP_DIR dir;
    const auto path = dir.write("a", "x");
    EXPECT_TRUE(while_scanned(path, 700ms,
                              [&]
                              {
                                  const FIO_FLUSH_HANDLE handle(path.u8string());
                                  return handle.is_open() && !handle.flush();
                              }));
}

TEST(FlushHandle, WaitsForTheWriterUntilStopped)
{
    const TEMP_DIR dir;
    const std::string path = (dir / "a").u8string();
    FIO_APPEND_FILE writer;
    ASSERT_TRUE(writer.open(path, OPENING::create_if_missing));
    int looks = 0;
    const FIO_FLUSH_HANDLE stopped(path, [&looks] { return ++looks == 3; });
    EXPECT_EQ(looks, 3);
    EXPECT_FALSE(stopped.is_open());
    EXPECT_TRUE(stopped.flush());

    std::thread closer([&writer] { writer.close(); });
    const FIO_FLUSH_HANDLE handle(path);
    closer.join();
    EXPECT_TRUE(handle.is_open());
    EXPECT_FALSE(handle.flush());
}

TEST(FlushHandle, LetsOthersReadMoveAndRemoveTheFile)
{
    const TEMP_DIR dir;
    const auto path = dir.write("a", "abc");
    const FIO_FLUSH_HANDLE handle(path.u8string());
    ASSERT_TRUE(handle.is_open());
    EXPECT_EQ(dir.read("a"), "abc");
    EXPECT_NE(::MoveFileExW(path.c_str(), (dir / "b").c_str(), 0), FALSE);
    EXPECT_NE(::DeleteFileW((dir / "b").c_str()), FALSE);
}
