#include "support/curl/curl_pieces.h"

#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace
{

class PieceFiles : public ::testing::Test
{
protected:
    std::string add(const std::string& of_version, std::uint64_t begin) const
    {
        const std::string path = curl_piece_path(file, of_version, begin);
        dir.write(std::filesystem::path(path).lexically_relative(dir.path()).string(), "piece");
        return path;
    }

    TEMP_DIR dir;
    const std::string file = (dir / "one.run").string();
    const std::string version = curl_piece_version(file, 1000, "\"v1\"");
};

}

TEST_F(PieceFiles, AreFoundInTheirOrder)
{
    const std::string far = add(version, 900);
    const std::string near = add(version, 80);
    const std::vector<CURL_STORED_PIECE> found = curl_take_over_pieces(file, version);
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].begin, 80U);
    EXPECT_EQ(found[0].path, near);
    EXPECT_EQ(found[1].begin, 900U);
    EXPECT_EQ(found[1].path, far);
}

TEST_F(PieceFiles, OfAnotherVersionAreRemoved)
{
    for (const auto& [size, validator] : {std::pair(1001, "\"v1\""), std::pair(1000, "\"v2\"")})
    {
        const std::string path =
            add(curl_piece_version(file, static_cast<std::uint64_t>(size), validator), 80);
        EXPECT_TRUE(curl_take_over_pieces(file, version).empty());
        EXPECT_FALSE(std::filesystem::exists(path));
    }
}

TEST_F(PieceFiles, OfAnotherFileAreKept)
{
    const std::string other = (dir / "two.run").string();
    const std::string path = curl_piece_path(other, curl_piece_version(other, 1000, "\"v1\""), 80);
    dir.write(std::filesystem::path(path).lexically_relative(dir.path()).string(), "piece");
    EXPECT_TRUE(curl_take_over_pieces(file, version).empty());
    curl_remove_pieces(file);
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(PieceFiles, LeaveNoDirectoryBehind)
{
    const std::string first = add(version, 80);
    add(version, 900);
    curl_remove_piece(first);
    EXPECT_TRUE(std::filesystem::exists(dir / curl_piece_directory));
    curl_remove_pieces(file);
    EXPECT_FALSE(std::filesystem::exists(dir / curl_piece_directory));
}

TEST_F(PieceFiles, HaveNamesOfALimitedLength)
{
    const std::string longest = (dir / std::string(255, 'x')).string();
    const std::string path =
        curl_piece_path(longest, curl_piece_version(longest, ~0ULL, std::string(5000, 'v')), ~0ULL);
    EXPECT_LE(std::filesystem::path(path).filename().string().size(), 60U);
}

TEST_F(PieceFiles, AreNotPutBehindALink)
{
    dir.make_dir("elsewhere");
    std::error_code error;
    std::filesystem::create_directory_symlink(dir / "elsewhere", dir / curl_piece_directory, error);
    if (error)
        GTEST_SKIP() << "links can't be made here";
    EXPECT_EQ(curl_piece_path(file, version, 80), "");
    dir.write("elsewhere/" + version + "-80", "piece");
    EXPECT_TRUE(curl_take_over_pieces(file, version).empty());
}

TEST_F(PieceFiles, WithOtherNamesAreNoPieces)
{
    dir.write(".pieces/" + version + "-12x", "");
    dir.write(".pieces/other", "");
    EXPECT_TRUE(curl_take_over_pieces(file, version).empty());
    EXPECT_TRUE(std::filesystem::exists(dir / ".pieces/other"));
}
