#include "install/vinst/console/vinst_block_layout.h"

#include <gtest/gtest.h>

namespace
{

using COMPONENTS = std::vector<VINST_COMPONENT_PROGRESS>;
using STATE = VINST_COMPONENT_PROGRESS::STATE;

constexpr int wide_enough = 200;

VINST_COMPONENT_PROGRESS component(const QString& name, STATE state)
{
    VINST_COMPONENT_PROGRESS result{name, 5, 10, 50, {}, state};
    if (state == STATE::failed)
        result.error_line = transfer_error_line(name, "gone", 404, 22);
    return result;
}

/// Ten components: two in error, three that are moving, four that wait, one that is verified.
COMPONENTS ten()
{
    COMPONENTS components;
    for (const STATE state :
         {STATE::waiting, STATE::moving, STATE::failed, STATE::verified, STATE::moving,
          STATE::waiting, STATE::failed, STATE::moving, STATE::waiting, STATE::waiting})
        components.push_back(component("c" + QString::number(components.size()), state));
    return components;
}

const QString error_of_2 = "c2: Error: gone, Httpcode: 404, Curlcode: 22";
const QString error_of_6 = "c6: Error: gone, Httpcode: 404, Curlcode: 22";

VINST_PROGRESS_TOTALS idle()
{
    VINST_PROGRESS_TOTALS totals;
    totals.downloaded = 50;
    totals.total = 100;
    return totals;
}

VINST_PROGRESS_TOTALS receiving()
{
    VINST_PROGRESS_TOTALS totals = idle();
    totals.delta = 10;
    totals.received = 10;
    return totals;
}

const QStringList totals_of_idle{"Total downloaded: [50.00 B / 100.00 B]"};
const QStringList totals_of_receiving{"Total downloaded: [50.00 B / 100.00 B]",
                                      "  Avg. download speed: [10.00 B/sec]",
                                      "  Est. time remaining: [5 secs]"};

}

TEST(FittedBlock, IsTheCompleteBlockWhereThereIsRoom)
{
    const COMPONENTS two{component("One", STATE::moving), component("Two", STATE::failed)};
    const QStringList rows{"One: [5 / 10] 50%", "Two: Error: gone, Httpcode: 404, Curlcode: 22"};
    EXPECT_EQ(fitted_block(two, receiving(), {6, wide_enough}),
              rows + totals_of_receiving + QStringList{""});
    EXPECT_EQ(fitted_block(two, idle(), {5, wide_enough}),
              rows + totals_of_idle + QStringList({"", ""}));
}

TEST(FittedBlock, OmitsEmptyLinesFirst)
{
    const COMPONENTS one{component("One", STATE::moving)};
    for (const int rows : {2, 3})
        EXPECT_EQ(fitted_block(one, idle(), {rows, wide_enough}),
                  QStringList{"One: [5 / 10] 50%"} + totals_of_idle);
}

TEST(FittedBlock, ElidesLongLines)
{
    EXPECT_EQ(fitted_block({component("One", STATE::failed)}, idle(), {9, 20}),
              (QStringList{QStringLiteral("One: Error: gone, H…"),
                           QStringLiteral("Total downloaded: […"), "", ""}));
}

TEST(FittedBlock, ShowsErrorsThenWhatMovesThenTheNumberOfOthers)
{
    EXPECT_EQ(fitted_block(ten(), idle(), {7, wide_enough}),
              (QStringList{error_of_2, error_of_6, "c1: [5 / 10] 50%", "c4: [5 / 10] 50%",
                           "c7: [5 / 10] 50%", "4 more waiting, 1 verified"}) +
                  totals_of_idle);
}

TEST(FittedBlock, CountsWhatItHasNoRoomFor)
{
    EXPECT_EQ(
        fitted_block(ten(), receiving(), {6, wide_enough}),
        (QStringList{error_of_2, error_of_6, "3 more downloading, 4 more waiting, 1 verified"}) +
            totals_of_receiving);
    EXPECT_EQ(fitted_block(ten(), receiving(), {5, wide_enough}),
              (QStringList{error_of_2,
                           "1 more in error, 3 more downloading, 4 more waiting, 1 verified"}) +
                  totals_of_receiving);
    EXPECT_EQ(fitted_block(ten(), idle(), {2, wide_enough}),
              (QStringList{"2 more in error, 3 more downloading, 4 more waiting, 1 verified"}) +
                  totals_of_idle);
}

TEST(FittedBlock, AlwaysShowsTheTotals)
{
    EXPECT_EQ(fitted_block(ten(), receiving(), {3, wide_enough}), totals_of_receiving);
    EXPECT_EQ(fitted_block(ten(), receiving(), {1, wide_enough}), totals_of_receiving.mid(0, 1));
    EXPECT_EQ(fitted_block(ten(), receiving(), {0, wide_enough}), QStringList{});
    EXPECT_EQ(least_block_height(receiving()), 3);
    EXPECT_EQ(least_block_height(idle()), 1);
}

TEST(FittedBlock, FitsEverySize)
{
    COMPONENTS sixty;
    for (int i = 0; i < 6; ++i)
        for (const VINST_COMPONENT_PROGRESS& each : ten())
            sixty.push_back(each);
    for (const VINST_PROGRESS_TOTALS& totals : {idle(), receiving()})
        for (int rows = 0; rows < 70; ++rows)
            for (const int columns : {1, 2, 40, 80, 200})
            {
                const QStringList lines = fitted_block(sixty, totals, {rows, columns});
                EXPECT_LE(lines.size(), rows);
                EXPECT_EQ(lines.isEmpty(), rows == 0);
                for (const QString& line : lines)
                    EXPECT_LE(line.size(), columns);
            }
}

TEST(PendingChecksLine, SaysHowManyFilesAndBytesAreLeft)
{
    EXPECT_EQ(pending_checks_line(1, 1024), "1 file and 1.00 KB left to check");
    EXPECT_EQ(pending_checks_line(12, 1610612736), "12 files and 1.50 GB left to check");
}
