#include "support/fio/fio_reparse.h"

#include <gtest/gtest.h>

namespace
{

constexpr std::uint32_t directory = 0x10;
constexpr std::uint32_t archive = 0x20;
constexpr std::uint32_t reparse_point = 0x400;

}

TEST(Reparse, TagCountsOnlyWithTheAttribute)
{
    constexpr std::uint32_t symbolic_link = 0xA000000C;
    EXPECT_EQ(fio_reparse_kind(archive, symbolic_link), FIO_REPARSE_KIND::none);
    EXPECT_EQ(fio_reparse_kind(directory, 0), FIO_REPARSE_KIND::none);
}

TEST(Reparse, PointsThatLeadElsewhereAreRedirections)
{
    // Junctions and volume mount points, symbolic links, those of Linux, and of applications.
    for (const std::uint32_t tag : {0xA0000003U, 0xA000000CU, 0xA000001DU, 0x8000001BU})
        for (const std::uint32_t kind : {archive, directory})
            EXPECT_EQ(fio_reparse_kind(kind | reparse_point, tag), FIO_REPARSE_KIND::redirection)
                << std::hex << tag;
}

TEST(Reparse, PointsOfStoredFilesAreNone)
{
    // Deduplicated, compressed, single-instance, and kept in a cloud.
    for (const std::uint32_t tag :
         {0x80000013U, 0x80000017U, 0x80000007U, 0x9000001AU, 0x9000101AU})
        EXPECT_EQ(fio_reparse_kind(archive | reparse_point, tag), FIO_REPARSE_KIND::stored)
            << std::hex << tag;
}
