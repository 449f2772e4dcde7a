#include "support/fio/fio_append_file.h"

#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

using OPENING = FIO_APPEND_FILE::OPENING;

TEST(AppendFile, RefusesAPipe)
{
    const TEMP_DIR dir;
    const std::string pipe = (dir / "pipe").string();
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    FIO_APPEND_FILE file;
    EXPECT_FALSE(file.open(pipe, OPENING::create_if_missing));
    EXPECT_EQ(file.error().find("Cannot write " + pipe + ": "), 0U);
    dir.make_dir("d");
    EXPECT_FALSE(file.open((dir / "d").string(), OPENING::create_if_missing));
    EXPECT_NE(file.error(), "");
    EXPECT_FALSE(file.open((dir / "none/a").string(), OPENING::create_if_missing));
    EXPECT_EQ(file.error(),
              "Cannot write " + (dir / "none/a").string() + ": No such file or directory");
}
