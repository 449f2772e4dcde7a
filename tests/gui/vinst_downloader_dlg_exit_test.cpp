#include "support/thr/thr_sleep.h"
#include "tests/gui/downloader_dlg_run_fixture.h"

#include <QMenu>
#include <QSpinBox>

namespace
{

/// Stop requests to the process in different states of the window.
class DialogExit : public DownloaderDlgRunTest
{
protected:
    DialogExit() { store("vinst_never_ask_feedback", false); }

    void stop_process_when(std::function<bool()> condition)
    {
        when(std::move(condition),
             [this]
             {
                 since_stop.restart();
                 thr_request_stop();
             });
    }

    void expect_closed()
    {
        EXPECT_TRUE(QTest::qWaitFor([this] { return !dialog->isVisible(); }, 5000));
        EXPECT_TRUE(since_stop.within(2s));
        EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
        EXPECT_TRUE(log_holds("Stop requested, closing the window"));
    }
};

}

TEST_F(DialogExit, EndsTheWaitForARetry)
{
    builder.component("one");
    store("vinst_retry_duration", 60);
    open();
    server.set_faults("/one.run", {FAULT::status(503)});
    stop_process_when([this] { return status().contains("Retrying #1 after 4 secs"); });
    press_download({});
    expect_closed();
    EXPECT_EQ(server.request_count("/one.run"), 1U);
}

TEST_F(DialogExit, EndsTheChecksOfARun)
{
    open_with_long_check();
    stop_process_when([this] { return status().startsWith("Checking"); });
    press_download({});
    expect_closed();
    EXPECT_FALSE(dialog->is_checking_files());
}

TEST_F(DialogExit, EndsTheChecksThatKeptTheWindowOpen)
{
    open_with_long_check();
    ASSERT_TRUE(dialog->is_checking_files());
    QString refusal;
    stop_process_when(
        [&refusal]
        {
            auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            refusal = box != nullptr ? box->text() : QString();
            return box != nullptr;
        });
    dialog->close();
    EXPECT_EQ(refusal, "Please wait while a background task is being processed.");
    expect_closed();
    EXPECT_FALSE(dialog->is_checking_files());
}

TEST_F(DialogExit, ClosesAMenuInTheSettings)
{
    builder.component("one");
    open();
    auto& settings = *dialog->findChild<QDialog*>("VINST_SETTINGS_DLG");
    when([&settings] { return settings.isVisible(); },
         [&settings]
         {
             // A spin box opens its menu in a nested event loop.
             auto& box = *settings.findChild<QSpinBox*>("m_retry_duration_spinbox");
             QContextMenuEvent event(QContextMenuEvent::Keyboard, {});
             QApplication::sendEvent(&box, &event);
         });
    stop_process_when([] { return QApplication::activePopupWidget() != nullptr; });
    dialog->show_settings();
    expect_closed();
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
}

TEST_F(DialogExit, ClosesTheSettingsThatWereOpenedDuringAJob)
{
    builder.component("one").pattern_content(300'000, 1);
    open();
    server.set_faults("/one.run", {FAULT::trickle(1000, 20ms)});
    auto& settings = *dialog->findChild<QDialog*>("VINST_SETTINGS_DLG");
    when([this] { return size_of("dl/one.run") > 0; }, [this] { dialog->show_settings(); });
    stop_process_when([&settings] { return settings.isVisible(); });
    const MODAL_BOXES none({});
    dialog->start_download();
    EXPECT_FALSE(settings.isVisible());
    expect_closed();
}

TEST_F(DialogExit, StartsNothingAfterwards)
{
    builder.component("one");
    open();
    since_stop.restart();
    thr_request_stop();
    const MODAL_BOXES none({});
    dialog->start_download();
    dialog->show_settings();
    EXPECT_EQ(server.request_count(), 0U);
    expect_closed();
}

TEST_F(DialogExit, ClosesAWindowThatIsCreatedLater)
{
    builder.component("one");
    since_stop.restart();
    thr_request_stop();
    open();
    expect_closed();
}
