#include "install/vinst/download/vinst_progress_block.h"

#include <gtest/gtest.h>

namespace
{

VINST_PROGRESS_TOTALS totals(quint64 downloaded, quint64 total, quint64 delta, quint64 received)
{
    VINST_PROGRESS_TOTALS result;
    result.downloaded = downloaded;
    result.total = total;
    result.delta = delta;
    result.received = received;
    return result;
}

}

TEST(Percentage, IsTruncatedAndNeverOver100)
{
    EXPECT_EQ(percentage(0, 0), 0U);
    EXPECT_EQ(percentage(5, 0), 0U);
    EXPECT_EQ(percentage(1, 3), 33U);
    EXPECT_EQ(percentage(999, 1000), 99U);
    EXPECT_EQ(percentage(1000, 1000), 100U);
    EXPECT_EQ(percentage(5000, 1000), 100U);
    EXPECT_EQ(percentage(6442450944, 12884901888), 50U);
}

TEST(ProgressBlock, ShowsOneLinePerFileAndTheTotals)
{
    const std::vector<VINST_COMPONENT_PROGRESS> files{{"One", 512, 1024, 50, {}},
                                                      {"Two", 0, 5368709120, 0, {}}};
    EXPECT_EQ(progress_block(files, totals(512, 5368710144, 256, 512)).toStdString(),
              "One: [512 / 1024] 50% \n"
              "Two: [0 / 5368709120] 0% \n"
              "Total downloaded: [512.00 B / 5.00 GB]      \n"
              "  Avg. download speed: [256.00 B/sec]      \n"
              "  Est. time remaining: [5825 hours 25 mins 22 secs]            \n");
}

TEST(ProgressBlock, ShowsNoSpeedWhileNothingArrives)
{
    EXPECT_EQ(progress_block({}, totals(0, 10, 0, 5)),
              "Total downloaded: [0.00 B / 10.00 B]      \n\n");
    EXPECT_EQ(progress_block({}, totals(0, 10, 5, 0)),
              "Total downloaded: [0.00 B / 10.00 B]      \n\n");
}

TEST(ProgressBlock, ShowsAnErrorInPlaceOfItsFile)
{
    const QString error = transfer_error_line("One", "gone", 404, 22);
    EXPECT_EQ(error, "One: Error: gone, Httpcode: 404, Curlcode: 22");
    EXPECT_EQ(progress_block({{"One", 1, 2, 50, error}}, totals(0, 0, 0, 0)),
              "One: Error: gone, Httpcode: 404, Curlcode: 22\n"
              "Total downloaded: [0.00 B / 0.00 B]      \n\n");
}

TEST(ProgressBlock, ShowsNoNegativeRemainder)
{
    EXPECT_EQ(remaining_text(totals(20, 10, 5, 5)), "N/A");
    EXPECT_EQ(remaining_text(totals(0, 9000000000000000000, 1, 1)), "596523 hours 14 mins 7 secs");
}
