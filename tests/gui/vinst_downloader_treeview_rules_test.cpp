#include "install/vinst/gui/vinst_downloader_treeview_rules.h"

#include <gtest/gtest.h>

#include <limits>

TEST(CheckState, IsTheSelectionInverted)
{
    EXPECT_EQ(check_state_of(VINST_SELECTION::selected), Qt::Checked);
    EXPECT_EQ(check_state_of(VINST_SELECTION::not_selected), Qt::Unchecked);
    EXPECT_EQ(check_state_of(VINST_SELECTION::partly_selected), Qt::PartiallyChecked);
    for (const Qt::CheckState state : {Qt::Checked, Qt::Unchecked, Qt::PartiallyChecked})
        EXPECT_EQ(check_state_of(selection_of(state)), state);
    EXPECT_EQ(static_cast<int>(selection_of(Qt::Checked)), 0);
    EXPECT_EQ(static_cast<int>(selection_of(Qt::Unchecked)), 1);
    EXPECT_EQ(static_cast<int>(selection_of(Qt::PartiallyChecked)), 2);
}

TEST(AggregatedState, IsTheCommonStateIfAllAgree)
{
    const Qt::CheckState on = Qt::Checked;
    const Qt::CheckState off = Qt::Unchecked;
    const Qt::CheckState part = Qt::PartiallyChecked;
    EXPECT_EQ(aggregated_state({on, on, on}), on);
    EXPECT_EQ(aggregated_state({off, off}), off);
    EXPECT_EQ(aggregated_state({part}), part);
    EXPECT_EQ(aggregated_state({on, on, off}), part);
    EXPECT_EQ(aggregated_state({on, part}), part);
}

TEST(ProgressPercent, IsReadFromTheText)
{
    EXPECT_EQ(progress_percent("45%"), 45);
    EXPECT_EQ(progress_percent("%4%5"), 45);
    EXPECT_EQ(progress_percent("100"), 100);
    EXPECT_EQ(progress_percent("0%"), 0);
    EXPECT_EQ(progress_percent("-1%"), -1);
    EXPECT_LT(progress_percent(""), 0);
    EXPECT_LT(progress_percent("soon"), 0);
}

TEST(FrameAt, CyclesWithTheClock)
{
    EXPECT_EQ(frame_at(0, 12, 100), 0);
    EXPECT_EQ(frame_at(99, 12, 100), 0);
    EXPECT_EQ(frame_at(100, 12, 100), 1);
    EXPECT_EQ(frame_at(1199, 12, 100), 11);
    EXPECT_EQ(frame_at(1200, 12, 100), 0);
    EXPECT_EQ(frame_at(1'795'000'000'345, 12, 100), 7);
    EXPECT_EQ(frame_at(500, 0, 100), 0);
    EXPECT_EQ(frame_at(500, 12, 0), 0);
}

TEST(SizeText, PrefersTheManifestsText)
{
    EXPECT_EQ(size_text("about 3 GB", 17), "about 3 GB");
    EXPECT_EQ(size_text("", 3.0 * 1024 * 1024), "3.00 MB");
    EXPECT_EQ(size_text("", 0), "N/A");
    EXPECT_EQ(size_text("", -5), "N/A");
    EXPECT_EQ(size_text("", std::numeric_limits<double>::quiet_NaN()), "N/A");
    EXPECT_EQ(size_text("", std::numeric_limits<double>::infinity()), "N/A");
    EXPECT_EQ(size_text("", 1e300), "909494.70 TB");
    EXPECT_EQ(size_text("one\ntwo", 0), QString("one\ufffdtwo"));
}

TEST(DescriptionText, IncludesTheKnownChecksums)
{
    VINST_COMPONENT component;
    component.desc = "What it is";
    EXPECT_EQ(description_text(component), "What it is");
    component.md5sum = "abc";
    EXPECT_EQ(description_text(component), "What it is\n\nmd5sum: abc");
    component.sha1sum = "def";
    EXPECT_EQ(description_text(component), "What it is\n\nmd5sum: abc\nsha1sum:def");
    component.md5sum.clear();
    EXPECT_EQ(description_text(component), "What it is\n\nsha1sum:def");
    component.sha1sum = " ";
    EXPECT_EQ(description_text(component), "What it is") << "no line without a checksum";
}

TEST(TreeViewRules, FindTheChecksumsInADescription)
{
    EXPECT_EQ(begin_of_checksums("A part"), -1);
    EXPECT_EQ(begin_of_checksums("A\n\nmd5sum: 1f"), 3);
    EXPECT_EQ(begin_of_checksums("A\n\nsha1sum:1f"), 3);
    EXPECT_EQ(begin_of_checksums("\n\nmd5sum: 1f\nsha1sum:2e"), 2);
    EXPECT_EQ(begin_of_checksums("A\n\nmd5sum: 1f\nsha1sum:2e\n\nmore"), -1);
    VINST_COMPONENT component;
    component.desc = "A part";
    component.md5sum = "1f";
    EXPECT_EQ(begin_of_checksums(description_text(component)), 8);
}
