#include "install/vinst/gui/vinst_job_end.h"

#include "install/vinst/download/vinst_installation.h"
#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

namespace
{

using RESULT = VINST_JOB_END::RESULT;

constexpr quint64 gib = 1024ULL * 1024 * 1024;

/// The end of a job that has downloaded 7 components in 14 minutes.
VINST_JOB_END end_of_job(RESULT result)
{
    VINST_JOB_END end;
    end.result = result;
    end.was_begun = true;
    end.components = 7;
    end.done = 7;
    end.fetched = 2 * gib;
    end.seconds = 14 * 60 + 5;
    end.dir = "/opt/crest";
    return end;
}

/// With DIR in place of the directory, which is shown with the platform's separators.
QString text_of(const VINST_JOB_END& end)
{
    return job_end_text(end).replace(native(QStringLiteral("/opt/crest")), "DIR");
}

}

TEST(JobEnd, SaysWhatWasInstalled)
{
    VINST_JOB_END end = end_of_job(RESULT::installed);
    EXPECT_EQ(text_of(end), "7 components, 2.00 GB in 14 min, installed to DIR");
    end.reused = gib;
    EXPECT_EQ(text_of(end), "7 components, 2.00 GB in 14 min (1.00 GB reused), installed to DIR");
    end.done = 5;
    EXPECT_EQ(text_of(end),
              "5 of 7 components, 2.00 GB in 14 min (1.00 GB reused), installed to DIR");
    end.done = 7;
    end.fetched = 0;
    EXPECT_EQ(text_of(end), "7 components, 1.00 GB reused, installed to DIR in 14 min");
    end.components = end.done = 1;
    EXPECT_EQ(text_of(end), "1 component, 1.00 GB reused, installed to DIR in 14 min");
}

TEST(JobEnd, SaysWhatWasDownloaded)
{
    VINST_JOB_END end = end_of_job(RESULT::downloaded);
    EXPECT_EQ(text_of(end), "7 components, 2.00 GB in 14 min, downloaded to DIR");
    end.reused = gib;
    EXPECT_EQ(text_of(end), "7 components, 2.00 GB in 14 min (1.00 GB reused), downloaded to DIR");
    end.fetched = 0;
    EXPECT_EQ(text_of(end), "7 components, nothing to download: 1.00 GB already in DIR");
}

TEST(JobEnd, SaysHowFarAStoppedOrFailedJobGot)
{
    VINST_JOB_END end = end_of_job(RESULT::stopped);
    end.done = 3;
    EXPECT_EQ(text_of(end), "Stopped after 14 min: 3 of 7 components complete, 2.00 GB downloaded");
    end.result = RESULT::failed;
    EXPECT_EQ(text_of(end), "Failed after 14 min: 3 of 7 components complete, 2.00 GB downloaded");
    end.fetched = 0;
    EXPECT_EQ(text_of(end), "Failed after 14 min: 3 of 7 components complete, nothing downloaded");
    end.was_installing = true;
    EXPECT_EQ(text_of(end), "Failed after 14 min: 3 of 7 components installed to DIR");
    end.was_begun = false;
    EXPECT_EQ(text_of(end), "Failed before the download began");
}

TEST(JobEnd, SaysNothingAboutAJobThatDidNotBegin)
{
    EXPECT_EQ(job_end_text({}), "");
}

TEST(JobEnd, RoundsItsDuration)
{
    EXPECT_EQ(rounded_duration(0.4), "less than 1 s");
    EXPECT_EQ(rounded_duration(42.9), "42 s");
    EXPECT_EQ(rounded_duration(89), "1 min");
    EXPECT_EQ(rounded_duration(90), "2 min");
    EXPECT_EQ(rounded_duration(3600), "1 h");
    EXPECT_EQ(rounded_duration(7500), "2 h 5 min");
}

TEST(JobEnd, ShowsADirectoryWithoutItsControlCharacters)
{
    VINST_JOB_END end = end_of_job(RESULT::installed);
    end.dir = "/opt/a\nb";
    EXPECT_FALSE(job_end_text(end).contains('\n'));
}
