#include "tests/gui/browser.h"
#include "tests/gui/downloader_dlg_run_fixture.h"

#include <QUrl>

namespace
{

/// What the main dialog shows and offers when a job has ended.
class DialogEnd : public DownloaderDlgRunTest
{
protected:
    QString end_text() const { return text("m_job_end_label").remove(QChar(0x200B)); }
    bool is_shown(const char* name) const { return find<QWidget>(name).isVisible(); }
    /// In the order of the window.
    QStringList offers() const
    {
        QStringList texts;
        for (const char* name : {"m_retry_button", "m_open_folder_button", "m_show_log_button"})
            if (is_shown(name))
                texts.append(button(name).text());
        return texts;
    }
    /// Expects a text with a time between these two.
    void expect_end(const QString& before, const QString& after) const
    {
        EXPECT_TRUE(end_text().startsWith(before)) << utf8(end_text());
        EXPECT_TRUE(end_text().endsWith(after)) << utf8(end_text());
    }
};

}

TEST_F(DialogEnd, ShowsNothingBeforeTheFirstJob)
{
    builder.component("one");
    open();
    EXPECT_FALSE(is_shown("m_job_end_view"));
}

TEST_F(DialogEnd, TellsWhatWasDownloadedAndThatNothingIsLeft)
{
    builder.component("one").pattern_content(3000, 1);
    builder.component("two").pattern_content(5192, 2);
    open();
    press_download({"OK"});
    expect_end("2 components, 8.00 KB in ", " s, downloaded to " + path("dl"));
    EXPECT_EQ(offers(), QStringList({"Open folder", "Show log"}));

    press_download({"OK"});
    EXPECT_EQ(end_text(), "2 components, nothing to download: 8.00 KB already in " + path("dl"));
}

TEST_F(DialogEnd, TellsWhatWasInstalled)
{
    builder.component("one").content(install_script());
    builder.component("loose").filename("loose.vdz");
    open();
    check_auto_install();
    press_download({"OK"});
    expect_end("1 of 2 components, ", " s, installed to " + path("inst"));
    EXPECT_EQ(offers(), QStringList({"Open folder", "Show log"}));
}

TEST_F(DialogEnd, TellsWhatWasReused)
{
    builder.component("one").pattern_content(8192, 1);
    open();
    server.set_faults("/one.run", {FAULT::stall_after(4096).times(1)});
    stop_when([this] { return size_of("dl/one.run") >= 4096; });
    press_download({});
    expect_end("Stopped after ", " s: 0 of 1 component complete, 4.00 KB downloaded");
    EXPECT_EQ(offers(), QStringList({"Retry", "Open folder", "Show log"}));
    {
        MODAL_BOXES boxes({"OK"});
        click("m_retry_button");
    }
    expect_end("1 component, 4.00 KB in ", " s (4.00 KB reused), downloaded to " + path("dl"));
    EXPECT_EQ(status(), "Download successful");
    expect_idle();
}

TEST_F(DialogEnd, OffersToRetryAFailedDownload)
{
    builder.component("one").pattern_content(3000, 1);
    builder.component("two");
    open();
    server.set_faults("/one.run", {FAULT::status(500).times(1)});
    press_download({"OK"});
    expect_end("Failed after ", " downloaded");
    EXPECT_TRUE(end_text().contains(": 1 of 2 components complete, ")) << utf8(end_text());
    EXPECT_EQ(offers(), QStringList({"Retry", "Open folder", "Show log"}));
}

TEST_F(DialogEnd, OffersToRetryAFailedConnection)
{
    builder.component("one");
    open();
    server.set_faults("/test.txt", {FAULT::status(404)});
    press_download({"OK"});
    EXPECT_EQ(end_text(), "Failed before the download began");
    EXPECT_EQ(offers(), QStringList({"Retry", "Show log"}));
}

TEST_F(DialogEnd, OffersTheLogOfAFailedInstallation)
{
    builder.component("one").content(install_script());
    builder.component("two").content(install_script(3));
    open();
    check_auto_install();
    press_download({"Show log"});
    ASSERT_EQ(shown.size(), 1U);
    EXPECT_TRUE(shown[0].text.contains("Please check the log for more information."));
    EXPECT_TRUE(find<QDialog>("VINST_LOG_VIEWER_DLG").isVisible());
    expect_end("Failed after ", " s: 1 of 2 components installed to " + path("inst"));
    EXPECT_EQ(offers(), QStringList({"Retry", "Open folder", "Show log"}));
}

TEST_F(DialogEnd, OpensTheFolderAndTheLog)
{
    builder.component("one");
    open();
    press_download({"OK"});
    BROWSER browser;
    click("m_open_folder_button");
    EXPECT_EQ(browser.opened,
              QStringList(QUrl::fromLocalFile(path("dl")).toString(QUrl::FullyEncoded)));
    click("m_show_log_button");
    EXPECT_TRUE(find<QDialog>("VINST_LOG_VIEWER_DLG").isVisible());
}

TEST_F(DialogEnd, ForgetsTheEndWithANewSelection)
{
    builder.component("one");
    builder.component("two");
    open();
    press_download({"OK"});
    ASSERT_TRUE(is_shown("m_job_end_view"));
    click_row(1);
    tree().take_clicks();
    EXPECT_FALSE(is_shown("m_job_end_view"));
}

TEST_F(DialogEnd, ShowsNothingAfterARefusal)
{
    builder.component("one");
    open();
    line("m_download_dir_line_edit").setText(path("with blank"));
    press_download({"OK"});
    EXPECT_FALSE(is_shown("m_job_end_view"));
}
