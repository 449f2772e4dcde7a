#include "install/vinst/console/vinst_rate.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

TEST(Rate, IsGivenInBytesPerSecondWithASuffix)
{
    for (const auto& [text, bytes] :
         std::vector<std::pair<const char*, std::uint64_t>>{{"1024", 1024},
                                                            {"1500", 1500},
                                                            {"1K", 1024},
                                                            {"500k", 512'000},
                                                            {"8M", 8'388'608},
                                                            {"8m", 8'388'608},
                                                            {"1.5M", 1'572'864},
                                                            {".5M", 524'288},
                                                            {"2G", 2'147'483'648},
                                                            {"1024G", 1'099'511'627'776}})
        EXPECT_EQ(parse_rate(text), bytes) << text;
}

TEST(Rate, IsRefusedUnlessItIsANumberWithinTheLimits)
{
    for (const char* text : {"",
                             "K",
                             "M",
                             ".",
                             "8 M",
                             " 8M",
                             "8MB",
                             "8Mi",
                             "8T",
                             "-8M",
                             "+8M",
                             "1e6",
                             "0",
                             "0M",
                             "1023",
                             "0.5K",
                             "1025G",
                             "8,5M",
                             "1.2.3M",
                             "0x100000",
                             "inf",
                             "nan",
                             "99999999999999999999999999999999"})
        EXPECT_EQ(parse_rate(text), std::nullopt) << text;
}
