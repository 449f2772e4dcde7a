#pragma once

#include "tests/gui/downloader_dlg_fixture.h"
#include "tests/gui/modal_box.h"
#include "tests/harness/stopwatch.h"

#include <QMessageBox>

#include <functional>
#include <vector>

/// The main dialog, with common functions for tests of complete runs.
class DownloaderDlgRunTest : public DownloaderDlgTest
{
protected:
    /// Opens the dialog with a component whose file exists and takes many seconds to check.
    void open_with_long_check();

    /// Returns when the run has ended and its boxes have been answered.
    void press_download(const QStringList& answers);

    void expect_idle();
    void expect_busy();

    /// One of the boxes of the last run.
    void expect_box(std::size_t index, const QString& words, QMessageBox::Icon icon,
                    const QString& title = program_title());

    void stop_when(std::function<bool()> condition);

    std::vector<SHOWN_BOX> shown;
    STOPWATCH since_stop;
};
