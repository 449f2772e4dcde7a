#pragma once

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_stop.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/gui/vinst_downloader_dlg.h"
#include "install/vinst/gui/vinst_downloader_treeview.h"
#include "install/vinst/release/vinst_data.h"
#include "tests/gui/modal_box.h"
#include "tests/harness/fault_server.h"
#include "tests/harness/installer_scripts.h"
#include "tests/harness/release_builder.h"
#include "tests/harness/stopwatch.h"
#include "tests/harness/temp_dir.h"
#include "tests/harness/tested_host.h"
#include "tests/harness/wait_until.h"

#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <functional>
#include <memory>

using namespace std::chrono_literals;

/// For QTest::qWaitFor, in milliseconds.
inline constexpr int long_wait = static_cast<int>(long_enough.count());

/// The main dialog with a small release on a fault server, and with private settings.
class DownloaderDlgTest : public ::testing::Test
{
protected:
    DownloaderDlgTest();
    ~DownloaderDlgTest() override;

    static void forget_settings();
    static void store(const QString& key, const QVariant& value);
    static QVariant stored(const QString& key);

    QString path(const std::string& name) const;

    /// Writes the release, serves it, and opens the dialog with it.
    void open();
    /// The same without waiting for the checks of existing files.
    void open_during_checks();
    void reopen();
    void show_dialog();

    template <typename WIDGET>
    WIDGET& find(const char* name) const
    {
        auto* const widget = dialog->findChild<WIDGET*>(name);
        if (widget == nullptr)
            throw std::runtime_error(std::string("no widget ") + name);
        return *widget;
    }
    QPushButton& button(const char* name) const { return find<QPushButton>(name); }
    QString text(const char* name) const { return find<QLabel>(name).text(); }
    QString status() const { return text("m_download_message_label"); }
    QGroupBox& auto_install() const { return find<QGroupBox>("m_install_options_groupbox"); }
    VINST_DOWNLOADER_TREEVIEW& tree() const;
    QLineEdit& line(const char* name) const;

    void wait_for_checks() const;
    void click(const char* name) { QTest::mouseClick(&button(name), Qt::LeftButton); }
    void click_row(int row);
    void check_auto_install();

    /// Runs the action once, as soon as the condition holds, while the test is inside a running
    /// job.
    void when(std::function<bool()> condition, std::function<void()> action);

    bool log_holds(const std::string& part) const
    {
        return read_file(dir / "log").find(part) != std::string::npos;
    }
    bool exists(const std::string& name) const { return std::filesystem::exists(dir / name); }

    /// 0 if there is no such file.
    std::uintmax_t size_of(const std::string& name) const;

    TEMP_DIR dir;
    FAULT_SERVER server;
    RELEASE_BUILDER builder;
    VINST_DIALOG_HOST host;
    std::unique_ptr<VINST_RELEASE> release;
    std::unique_ptr<VINST_DOWNLOADER_DLG> dialog;
};
