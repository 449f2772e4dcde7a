#include "install/vinst/gui/vinst_download_job.h"

#include "install/vinst/base/vinst_stop.h"
#include "install/vinst/download/vinst_downloader_mgr.h"
#include "install/vinst/gui/vinst_dialog_host.h"
#include "install/vinst/release/vinst_data.h"
#include "install/vinst/release/vinst_parser.h"
#include "tests/harness/fault_server.h"
#include "tests/harness/release_builder.h"
#include "tests/harness/stop_request.h"
#include "tests/harness/temp_dir.h"
#include "tests/harness/tested_host.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

namespace
{

/// Records what the job shows, and answers its questions.
class RECORDING_WINDOW final : public VINST_JOB_VIEW, public VINST_JOB_FORM
{
public:
    void show_status(const QString& text) override { statuses.append(text); }
    void show_retry_wait(const VINST_COMPONENT_LIST&, std::chrono::seconds) override {}
    void show_install_time(std::chrono::seconds) override {}
    void show_time(const QString& text) override { times.append(text); }
    bool ask(const QString& title, const std::string&, bool) override
    {
        questions.append(title);
        return answer();
    }
    void drop_auto_install() override { was_installation_dropped = true; }
    void accept_licence() override { was_licence_accepted = true; }

    std::function<bool()> answer = [] { return true; };
    QStringList statuses;
    QStringList times;
    QStringList questions;
    bool was_installation_dropped = false;
    bool was_licence_accepted = false;
};

class DownloadJob : public ::testing::Test
{
protected:
    DownloadJob() : builder(dir / "release")
    {
        builder.download_url(server.url("")).test_file(server.url(""));
        builder.component("one");
        const std::string manifest = builder.write().string();
        server.serve_directory(dir / "release");
        release = parse_manifest(QString::fromStdString(manifest), [](const QByteArray&) {});
        choices.platform = host.platform = this_platform();
        choices.download_dir = QString::fromStdString((dir / "dl").string());
        choices.install_dir = QString::fromStdString((dir / "inst").string());
        choices.parallel_downloads = 1;
        release->set_download_dir(choices.download_dir);
        host.is_admin = true;
        host.query_volume = [](const QString&) { return VINST_VOLUME{"/", 1LL << 40}; };
        manager = std::make_unique<VINST_DOWNLOADER_MGR>(*release, view);
        manager->set_components({release->find_component("one", this_platform())}, false);
        job = std::make_unique<VINST_DOWNLOAD_JOB>(*release, *manager, host, window, window);
    }
    ~DownloadJob() override { forget_stop_request(); }

    TEMP_DIR dir;
    FAULT_SERVER server;
    RELEASE_BUILDER builder;
    VINST_DIALOG_HOST host;
    VINST_JOB_CHOICES choices;
    VINST_DOWNLOADER_VIEW view;
    RECORDING_WINDOW window;
    std::unique_ptr<VINST_RELEASE> release;
    std::unique_ptr<VINST_DOWNLOADER_MGR> manager;
    std::unique_ptr<VINST_DOWNLOAD_JOB> job;
};

}

TEST_F(DownloadJob, AsksNothingWhenNothingIsMissing)
{
    const VINST_JOB_REPORT report = job->run(choices);
    EXPECT_EQ(window.questions, QStringList());
    EXPECT_EQ(window.statuses, QStringList("Establishing a connection..."));
    EXPECT_EQ(report.text, "<h2><font color=green>Download Complete</font></h2>1 component(s) have "
                           "been successfully downloaded.");
    EXPECT_TRUE(report.is_markup);
    EXPECT_FALSE(report.is_error);
}

TEST_F(DownloadJob, ContinuesWithoutInstallationWhenTheUserAgrees)
{
    host.is_admin = false;
    choices.auto_install = true;
    const VINST_JOB_REPORT report = job->run(choices);
    EXPECT_EQ(window.questions, QStringList("Proceed without installation?"));
    EXPECT_TRUE(window.was_installation_dropped);
    EXPECT_FALSE(window.was_licence_accepted);
    EXPECT_TRUE(report.text.contains("Download Complete"));
}

TEST_F(DownloadJob, EndsWhenTheUserRefusesTheLicence)
{
    choices.auto_install = true;
    window.answer = [] { return false; };
    EXPECT_EQ(job->run(choices).text, "");
    EXPECT_EQ(window.questions, QStringList("Accept License Agreement?"));
    EXPECT_FALSE(window.was_licence_accepted);
    EXPECT_EQ(server.request_count(), 0U);
}

TEST_F(DownloadJob, EndsWhenAStopIsRequestedDuringAQuestion)
{
    choices.auto_install = true;
    window.answer = []
    {
        request_download_stop();
        return true;
    };
    EXPECT_EQ(job->run(choices).text, "");
    EXPECT_FALSE(window.was_licence_accepted);
    EXPECT_EQ(server.request_count(), 0U);
}

TEST_F(DownloadJob, AsksOnceBeforeItUsesADirectoryThatOthersCanWrite)
{
    dir.make_dir("dl");
    std::filesystem::permissions(dir / "dl", std::filesystem::perms::all);
    if (open_download_dir_warning(*release).isEmpty())
        GTEST_SKIP() << "only root is warned";
    window.answer = [] { return false; };
    EXPECT_EQ(job->run(choices).text, "");
    EXPECT_EQ(window.questions, QStringList("Use a directory that others can write?"));
    EXPECT_EQ(server.request_count(), 0U);
    window.answer = [] { return true; };
    EXPECT_TRUE(job->run(choices).text.contains("Download Complete"));
    EXPECT_EQ(window.questions.size(), 2);
    EXPECT_TRUE(job->run(choices).text.contains("Download Complete"));
    EXPECT_EQ(window.questions.size(), 2);
}

TEST_F(DownloadJob, IgnoresAnEarlierPressOfTheStopButton)
{
    request_download_stop();
    EXPECT_TRUE(job->run(choices).text.contains("Download Complete"));
}

TEST_F(DownloadJob, ShowsTheEstimateWhileThereIsOneAndTheElapsedTimeOtherwise)
{
    EXPECT_EQ(window.times, QStringList());
    job->show_time_remaining("");
    EXPECT_EQ(window.times.last(), "");
    job->run(choices);
    EXPECT_TRUE(window.times.last().startsWith("Total download time: "));
    job->show_time_remaining("Est. time remaining 5 secs");
    EXPECT_EQ(window.times.last(), "Est. time remaining 5 secs");
    job->show_time_remaining("");
    EXPECT_TRUE(window.times.last().startsWith("Total download time: "));
}
