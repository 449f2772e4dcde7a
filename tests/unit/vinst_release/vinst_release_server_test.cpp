#include "tests/harness/temp_dir.h"
#include "tools/vinst_release/release_served_dir.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include <sys/stat.h>

namespace
{

using RANGE = std::optional<RELEASE_BYTE_RANGE>;

void expect_range(const RANGE& range, std::uint64_t offset, std::uint64_t size)
{
    ASSERT_TRUE(range.has_value());
    EXPECT_EQ(range->offset, offset);
    EXPECT_EQ(range->size, size);
}

class ServedDir : public testing::Test
{
protected:
    ServedDir()
    {
        m_dir.write("served/file", "inside");
        m_dir.write("served/deep/er/file", "deeper");
        m_dir.write("outside", "secret");
        EXPECT_EQ(m_served.open((m_dir / "served").string()), "");
    }

    /// The served content; "-" if nothing is served.
    std::string served(const std::string& path) const
    {
        const auto file = m_served.open_file(path);
        if (!file)
            return "-";
        std::string content(file->size(), '\0');
        EXPECT_EQ(file->read_at(0, content.data(), content.size()), content.size());
        return content;
    }

    TEMP_DIR m_dir;
    RELEASE_SERVED_DIR m_served;
};

}

TEST(ResolveByteRange, SelectsTheBytesFromFirstToLast)
{
    expect_range(resolve_byte_range(0, 0, 10), 0, 1);
    expect_range(resolve_byte_range(3, 5, 10), 3, 3);
    expect_range(resolve_byte_range(9, 9, 10), 9, 1);
}

TEST(ResolveByteRange, EndsAtTheEndOfTheFile)
{
    expect_range(resolve_byte_range(3, -1, 10), 3, 7);
    expect_range(resolve_byte_range(3, 10, 10), 3, 7);
    expect_range(resolve_byte_range(3, std::numeric_limits<std::int64_t>::max(), 10), 3, 7);
}

TEST(ResolveByteRange, CountsFromTheEnd)
{
    expect_range(resolve_byte_range(-1, 4, 10), 6, 4);
    expect_range(resolve_byte_range(-1, 10, 10), 0, 10);
    expect_range(resolve_byte_range(-1, 99, 10), 0, 10);
}

TEST(ResolveByteRange, FindsNothingBeyondTheEnd)
{
    EXPECT_FALSE(resolve_byte_range(10, -1, 10));
    EXPECT_FALSE(resolve_byte_range(10, 12, 10));
    EXPECT_FALSE(resolve_byte_range(5, 4, 10));
    EXPECT_FALSE(resolve_byte_range(0, -1, 0));
    EXPECT_FALSE(resolve_byte_range(-1, 0, 10));
    EXPECT_FALSE(resolve_byte_range(-1, 5, 0));
}

TEST(ResolveByteRange, WorksBeyondFourGibibytes)
{
    constexpr std::int64_t five_gib = 5LL << 30;
    expect_range(resolve_byte_range(five_gib, -1, 6ULL << 30), 5ULL << 30, 1ULL << 30);
}

TEST_F(ServedDir, ServesTheFilesInIt)
{
    EXPECT_EQ(served("/file"), "inside");
    EXPECT_EQ(served("/deep/er/file"), "deeper");
}

TEST_F(ServedDir, ServesNothingElse)
{
    for (const char* path : {"", "/", "file", "/none", "/deep", "/deep/", "/file/", "/file/x"})
        EXPECT_EQ(served(path), "-") << path;
}

TEST_F(ServedDir, ServesNothingOutside)
{
    for (const char* path : {"/../outside", "/deep/../../outside", "/deep/../file", "/./file",
                             "//file", "/..", "/deep//er/file"})
        EXPECT_EQ(served(path), "-") << path;
    EXPECT_EQ(served("/" + (m_dir / "outside").string()), "-");
    EXPECT_EQ(served(std::string("/file\0", 6)), "-");
}

TEST_F(ServedDir, FollowsNoLinks)
{
    std::filesystem::create_symlink(m_dir / "outside", m_dir / "served/link");
    std::filesystem::create_symlink(m_dir.path(), m_dir / "served/up");
    EXPECT_EQ(served("/link"), "-");
    EXPECT_EQ(served("/up/outside"), "-");
}

TEST_F(ServedDir, ServesNoPipe)
{
    ASSERT_EQ(mkfifo((m_dir / "served/pipe").c_str(), 0600), 0);
    EXPECT_EQ(served("/pipe"), "-");
}

TEST_F(ServedDir, MayItselfBeALink)
{
    std::filesystem::create_directory_symlink(m_dir / "served", m_dir / "link");
    RELEASE_SERVED_DIR through_link;
    EXPECT_EQ(through_link.open((m_dir / "link").string()), "");
    EXPECT_NE(through_link.open_file("/file"), nullptr);
}

TEST_F(ServedDir, ReportsThatItCannotBeServed)
{
    RELEASE_SERVED_DIR other;
    EXPECT_EQ(other.open("/nonexistent/dir"),
              "cannot serve '/nonexistent/dir': No such file or directory");
}

TEST_F(ServedDir, ChangesTheETagWithTheContent)
{
    const std::string before = m_served.open_file("/file")->entity_tag();
    EXPECT_EQ(m_served.open_file("/file")->entity_tag(), before);
    m_dir.write("served/file", "inside and longer");
    EXPECT_NE(m_served.open_file("/file")->entity_tag(), before);
}
