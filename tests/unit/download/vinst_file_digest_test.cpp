#include "install/vinst/download/vinst_file_digest.h"

#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <vector>

namespace
{

const QString md5_of_abc = QStringLiteral("900150983cd24fb0d6963f7d28e17f72");

class FileDigest : public ::testing::Test
{
protected:
    void append(const std::string& text) const { std::ofstream(path, std::ios::app) << text; }

    TEMP_DIR dir;
    const std::filesystem::path path = dir.write("file", "a");
    VINST_FILE_DIGEST digest{QString::fromStdString(path.string())};
};

}

TEST_F(FileDigest, ReadsOnlyWhatWasAppended)
{
    ASSERT_TRUE(digest.read_to_end());
    EXPECT_EQ(digest.bytes_read(), 1U);
    append("b");
    ASSERT_TRUE(digest.read_to_end());
    append("c");
    std::vector<quint64> positions;
    ASSERT_TRUE(digest.read_to_end({}, [&](quint64 bytes) { positions.push_back(bytes); }));
    EXPECT_EQ(positions, std::vector<quint64>{3});
    EXPECT_EQ(digest.md5(), md5_of_abc);
    ASSERT_TRUE(digest.read_to_end());
    EXPECT_EQ(digest.md5(), md5_of_abc) << "nothing was appended";
}

TEST_F(FileDigest, StartsAgainWithAFileThatWasReplaced)
{
    ASSERT_TRUE(digest.read_to_end());
    std::filesystem::rename(dir.write("other", "abc"), path);
    ASSERT_TRUE(digest.read_to_end());
    EXPECT_EQ(digest.md5(), md5_of_abc);
}

TEST_F(FileDigest, StartsAgainWithAFileThatBecameShorter)
{
    append("longer than before");
    ASSERT_TRUE(digest.read_to_end());
    dir.write("file", "abc");
    ASSERT_TRUE(digest.read_to_end());
    EXPECT_EQ(digest.bytes_read(), 3U);
    EXPECT_EQ(digest.md5(), md5_of_abc);
}

TEST_F(FileDigest, ContinuesAfterItWasCancelled)
{
    append("bc");
    EXPECT_FALSE(digest.read_to_end([] { return true; }));
    ASSERT_TRUE(digest.read_to_end());
    EXPECT_EQ(digest.md5(), md5_of_abc);
}

TEST_F(FileDigest, FailsWithoutAFile)
{
    std::filesystem::remove(path);
    EXPECT_FALSE(digest.read_to_end());
    std::filesystem::create_directory(path);
    EXPECT_FALSE(digest.read_to_end());
}
