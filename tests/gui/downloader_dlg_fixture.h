#pragma once

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_stop.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/gui/vinst_downloader_dlg.h"
#include "install/vinst/gui/vinst_downloader_treeview.h"
#include "install/vinst/release/vinst_data.h"
#include "install/vinst/release/vinst_parser.h"
#include "tests/gui/modal_box.h"
#include "tests/harness/fault_server.h"
#include "tests/harness/installer_scripts.h"
#include "tests/harness/release_builder.h"
#include "tests/harness/stop_request.h"
#include "tests/harness/stopwatch.h"
#include "tests/harness/temp_dir.h"
#include "tests/harness/tested_host.h"
#include "tests/harness/wait_until.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QDir>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSettings>
#include <QTest>
#include <QTimer>

#include <functional>
#include <memory>

using namespace std::chrono_literals;

/// For QTest::qWaitFor, in milliseconds.
inline constexpr int long_wait = static_cast<int>(long_enough.count());

/// The main dialog with a small release on a fault server, and with private settings.
class DownloaderDlgTest : public ::testing::Test
{
protected:
    DownloaderDlgTest() : builder(dir / "release")
    {
        forget_stop_request();
        forget_settings();
        host.platform = this_platform();
        host.is_admin = true;
        host.query_volume = [](const QString&) { return VINST_VOLUME{"/", 1LL << 40}; };
        builder.download_url(server.url("")).test_file(server.url(""));
        VINST_MESSAGES::instance().log_path = (dir / "log").string();
        VINST_MESSAGES::instance().open_log();
        VINST_MESSAGES::instance().set_debug();
        store("vinst_never_ask_feedback", true);
        store("vinst_downloader_download_dir", path("dl"));
        store("vinst_downloader_install_dir", path("inst"));
        store("vinst_downloader_auto_install", false);
        store("vinst_retry_duration", 0);
    }
    ~DownloaderDlgTest() override
    {
        dialog.reset();
        forget_stop_request();
    }

    static void forget_settings() { QSettings(QSettings::UserScope, "Orvane", "vinst").clear(); }
    static void store(const QString& key, const QVariant& value)
    {
        CFGQ_REGISTRY_KEY(program_title()).set_value(key, value);
    }
    static QVariant stored(const QString& key)
    {
        return CFGQ_REGISTRY_KEY(program_title()).get_value(key);
    }

    QString path(const std::string& name) const
    {
        return QString::fromStdString((dir / name).string());
    }

    /// Writes the release, serves it, and opens the dialog with it.
    void open()
    {
        open_during_checks();
        wait_for_checks();
    }

    /// The same without waiting for the checks of existing files.
    void open_during_checks()
    {
        const std::string manifest = builder.write().string();
        server.serve_directory(dir / "release");
        release = parse_manifest(QString::fromStdString(manifest), [](const QByteArray&) {});
        ASSERT_NE(release, nullptr);
        show_dialog();
    }

    void reopen()
    {
        dialog.reset();
        show_dialog();
        wait_for_checks();
    }

    void show_dialog()
    {
        dialog = std::make_unique<VINST_DOWNLOADER_DLG>(*release, host);
        dialog->open();
    }

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
    VINST_DOWNLOADER_TREEVIEW& tree() const
    {
        return find<VINST_DOWNLOADER_TREEVIEW>("m_download_treeview");
    }
    QLineEdit& line(const char* name) const
    {
        return *find<QWidget>(name).findChild<QLineEdit*>("m_line_edit");
    }

    void wait_for_checks() const
    {
        EXPECT_TRUE(QTest::qWaitFor([this] { return !dialog->is_checking_files(); }, long_wait));
    }

    void click(const char* name) { QTest::mouseClick(&button(name), Qt::LeftButton); }

    void click_row(int row)
    {
        const QModelIndex index = tree().model()->index(row, 0);
        QTest::mouseClick(tree().viewport(), Qt::LeftButton, {}, tree().visualRect(index).center());
    }

    void check_auto_install()
    {
        auto_install().setChecked(true);
        Q_EMIT auto_install().clicked(true);
        find<QCheckBox>("m_agree_license_checkbox").setChecked(true);
    }

    /// Runs the action once, as soon as the condition holds, while the test is inside a running
    /// job.
    void when(std::function<bool()> condition, std::function<void()> action)
    {
        auto* const timer = new QTimer(dialog.get());
        QObject::connect(timer, &QTimer::timeout, timer,
                         [timer, condition, action]
                         {
                             if (!condition())
                                 return;
                             timer->deleteLater();
                             timer->stop();
                             action();
                         });
        timer->start(10ms);
    }

    bool log_holds(const std::string& part) const
    {
        return read_file(dir / "log").find(part) != std::string::npos;
    }
    bool exists(const std::string& name) const { return std::filesystem::exists(dir / name); }

    /// 0 if there is no such file.
    std::uintmax_t size_of(const std::string& name) const
    {
        std::error_code error;
        const std::uintmax_t size = std::filesystem::file_size(dir / name, error);
        return error ? 0 : size;
    }

    TEMP_DIR dir;
    FAULT_SERVER server;
    RELEASE_BUILDER builder;
    VINST_DIALOG_HOST host;
    std::unique_ptr<VINST_RELEASE> release;
    std::unique_ptr<VINST_DOWNLOADER_DLG> dialog;
};

/// The same, with common functions for tests of complete runs.
class DownloaderDlgRunTest : public DownloaderDlgTest
{
protected:
    /// Returns when the run has ended and its boxes have been answered.
    void press_download(const QStringList& answers)
    {
        MODAL_BOXES boxes(answers);
        click("m_download_button");
        shown = boxes.shown();
    }

    void expect_idle()
    {
        EXPECT_FALSE(dialog->is_download_in_progress());
        EXPECT_EQ(tree().selectionMode(), QAbstractItemView::SingleSelection);
        for (const char* name : {"m_settings_button", "m_help_button", "m_log_button",
                                 "m_download_button", "m_close_button"})
            EXPECT_TRUE(button(name).isEnabled()) << name;
        EXPECT_FALSE(button("m_stop_button").isEnabled());
        EXPECT_TRUE(find<QWidget>("m_download_dir_line_edit").isEnabled());
        EXPECT_EQ(auto_install().isEnabled(), host.is_admin);
        EXPECT_EQ(text("m_license_agreement_label").contains("#0000ff"),
                  auto_install().isChecked());
    }

    void expect_busy()
    {
        EXPECT_TRUE(dialog->is_download_in_progress());
        EXPECT_EQ(tree().selectionMode(), QAbstractItemView::NoSelection);
        for (const char* name : {"m_settings_button", "m_download_button", "m_close_button"})
            EXPECT_FALSE(button(name).isEnabled()) << name;
        for (const char* name : {"m_help_button", "m_log_button", "m_stop_button"})
            EXPECT_TRUE(button(name).isEnabled()) << name;
        EXPECT_FALSE(find<QWidget>("m_download_dir_line_edit").isEnabled());
        EXPECT_FALSE(auto_install().isEnabled());
        EXPECT_TRUE(text("m_license_agreement_label").contains("#cccccc"));
        const QModelIndex row = tree().model()->index(0, 0);
        click_row(0);
        tree().setFocus();
        QTest::keyClick(&tree(), Qt::Key_Space);
        EXPECT_EQ(row.data(Qt::CheckStateRole).toInt(), Qt::Checked);
    }

    /// One of the boxes of the last run.
    void expect_box(std::size_t index, const QString& words, QMessageBox::Icon icon,
                    const QString& title = program_title())
    {
        ASSERT_LT(index, shown.size());
        EXPECT_EQ(shown[index].text, words);
        EXPECT_EQ(shown[index].icon, icon);
        EXPECT_EQ(shown[index].title, title);
        const bool is_question = title != program_title();
        shown[index].buttons.sort();
        EXPECT_EQ(shown[index].buttons,
                  is_question ? QStringList({"No", "Yes"}) : QStringList("OK"));
    }

    void stop_when(std::function<bool()> condition)
    {
        when(std::move(condition),
             [this]
             {
                 since_stop.restart();
                 click("m_stop_button");
             });
    }

    std::vector<SHOWN_BOX> shown;
    STOPWATCH since_stop;
};
