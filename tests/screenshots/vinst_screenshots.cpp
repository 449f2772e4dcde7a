// Shows the windows during a download and an installation of a made-up release and saves
// screenshots: see scripts/screenshots.sh, which runs it.

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/gui/vinst_downloader_dlg.h"
#include "install/vinst/gui/vinst_downloader_treeview_model.h"
#include "install/vinst/gui/vinst_log_viewer_dlg.h"
#include "install/vinst/gui/vinst_message_box.h"
#include "install/vinst/gui/vinst_settings_dlg.h"
#include "install/vinst/release/vinst_parser.h"
#include "support/afcq/afcq_style.h"
#include "tests/gui/cut_controls.h"
#include "tests/harness/large_release.h"
#include "tests/harness/release_builder.h"
#include "tests/screenshots/made_up_release.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTreeView>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>

using namespace std::chrono_literals;

namespace
{

constexpr std::chrono::milliseconds look_interval{20};
constexpr std::chrono::minutes time_limit{3};
constexpr qint64 free_space = 412LL * 1024 * 1024 * 1024;

[[noreturn]] void fail(const QString& text)
{
    std::fprintf(stderr, "vinst_screenshots: %s\n", qPrintable(text));
    std::_Exit(1);
}

QPalette dark_palette()
{
    const QColor window(53, 53, 53);
    const QColor base(35, 35, 35);
    const QColor highlight(42, 130, 218);
    const QColor dimmed(127, 127, 127);
    QPalette palette(window, window); // derives the shades of borders
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, Qt::white);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, QColor(45, 45, 45));
    palette.setColor(QPalette::ToolTipBase, window);
    palette.setColor(QPalette::ToolTipText, Qt::white);
    palette.setColor(QPalette::PlaceholderText, dimmed);
    palette.setColor(QPalette::Text, Qt::white);
    palette.setColor(QPalette::Button, window);
    palette.setColor(QPalette::ButtonText, Qt::white);
    palette.setColor(QPalette::BrightText, Qt::red);
    palette.setColor(QPalette::Link, highlight);
    palette.setColor(QPalette::Highlight, highlight);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    for (const QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::HighlightedText})
        palette.setColor(QPalette::Disabled, role, dimmed);
    palette.setColor(QPalette::Disabled, QPalette::Highlight, QColor(80, 80, 80));
    return palette;
}

/// A file system that is the same on every machine.
VINST_VOLUME made_up_volume(const QString& /*dir*/)
{
    return {"/", free_space};
}

template <typename WIDGET>
WIDGET& child(const QWidget& window, const char* name)
{
    auto* const found = window.findChild<WIDGET*>(name);
    if (found == nullptr)
        fail(QStringLiteral("there is no ") + name);
    return *found;
}

QString text_of(const QWidget& window, const char* label)
{
    return child<QLabel>(window, label).text();
}

class PHOTOGRAPHER
{
public:
    PHOTOGRAPHER(QDir directory, QString suffix)
        : m_directory(std::move(directory)), m_suffix(std::move(suffix))
    {
    }

    /// Fails if a control of the window can't be seen completely.
    void shoot(QWidget& window, const QString& name) const
    {
        // A text may have changed since the last layout.
        for (int pass = 0; pass < 3; ++pass)
            QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
        const QStringList cut = cut_controls(window);
        if (!cut.isEmpty())
            fail(name + m_suffix + ": " + cut.join("; "));
        const QString path = m_directory.filePath(name + m_suffix + ".png");
        if (!window.grab().save(path))
            fail("cannot write " + path);
    }

private:
    QDir m_directory;
    QString m_suffix;
};

/// Acts once, as soon as a condition holds, from the current event loop.
void at_moment(const QString& name, std::function<bool()> holds, std::function<void()> act)
{
    auto* const timer = new QTimer(qApp);
    timer->setObjectName(name);
    QTimer::singleShot(time_limit, timer, [name] { fail(name + " did not come"); });
    QObject::connect(timer, &QTimer::timeout, timer,
                     [timer, holds = std::move(holds), act = std::move(act)]
                     {
                         if (!holds())
                             return;
                         timer->stop();
                         timer->deleteLater();
                         act();
                     });
    timer->start(look_interval);
}

/// Fails if an awaited condition has not occurred.
void expect_all_moments()
{
    for (const QTimer* timer : qApp->findChildren<QTimer*>())
    {
        if (timer->isActive() && !timer->objectName().isEmpty())
            fail(timer->objectName() + " did not come");
    }
}

void wait_for(const QString& name, const std::function<bool()>& holds)
{
    QEventLoop loop;
    at_moment(name, holds, [&] { loop.quit(); });
    loop.exec();
}

/// Acts on the next modal window of a kind.
template <typename WINDOW>
void at_window(const QString& name, const std::function<void(WINDOW&)>& act)
{
    const auto shown = [] { return qobject_cast<WINDOW*>(QApplication::activeModalWidget()); };
    at_moment(
        name, [shown] { return shown() != nullptr && shown()->isVisible(); },
        [shown, act] { act(*shown()); });
}

int rows_in_state(const QWidget& window, VINST_INTEGRITY_STATE state)
{
    int count = 0;
    const QAbstractItemModel& model = *child<QTreeView>(window, "m_download_treeview").model();
    const std::function<void(const QModelIndex&)> look_below = [&](const QModelIndex& parent)
    {
        for (int row = 0; row < model.rowCount(parent); ++row)
        {
            const QVariant code = model.index(row, integrity_column, parent).data(tree_cell_role);
            count += code.toInt() == static_cast<int>(state) ? 1 : 0;
            look_below(model.index(row, 0, parent));
        }
    };
    look_below({});
    return count;
}

/// The scenes, in the order in which a user sees them; each starts with an idle main window.
class SESSION
{
public:
    SESSION(const PHOTOGRAPHER& photographer, const QDir& home)
        : m_photographer(photographer), m_made_up(home.filePath("release").toStdString()),
          m_release(m_made_up.load()),
          m_download_dir(m_release->default_download_dir().toStdString()),
          m_dialog(*m_release, {"linux", true, made_up_volume, {}})
    {
        std::filesystem::create_directories(m_download_dir);
    }

    void play()
    {
        m_dialog.open();
        show_idle();
        show_settings();
        show_downloading();
        show_failed();
        show_checking_and_installed();
        show_log();
        show_question();
        show_feedback();
        expect_all_moments();
    }

private:
    void press(const char* button) { child<QPushButton>(m_dialog, button).click(); }

    /// Waits until no check runs in the background and the columns have their widths.
    void settle()
    {
        wait_for("rest", [this] { return !m_dialog.is_checking_files(); });
        QEventLoop loop;
        QTimer::singleShot(300ms, &loop, &QEventLoop::quit);
        loop.exec();
    }

    /// A file that has been checked counts as changed when it is written again, unless the
    /// directory was changed in between.
    void forget_checks()
    {
        auto& directory =
            child<QLineEdit>(child<QWidget>(m_dialog, "m_download_dir_line_edit"), "m_line_edit");
        const QString text = directory.text();
        directory.setText(text + "/none");
        wait_for("a directory without files",
                 [this]
                 {
                     return rows_in_state(m_dialog, VINST_INTEGRITY_STATE::passed) == 0 &&
                            rows_in_state(m_dialog, VINST_INTEGRITY_STATE::failed) == 0;
                 });
        directory.setText(text);
    }

    void show_idle()
    {
        auto& tree = child<QTreeView>(m_dialog, "m_download_treeview");
        tree.setCurrentIndex(tree.model()->index(0, 0));
        settle();
        m_photographer.shoot(m_dialog, "main-idle");
    }

    void show_settings()
    {
        at_window<VINST_SETTINGS_DLG>(
            "the settings dialog",
            [this](VINST_SETTINGS_DLG& settings)
            {
                child<QRadioButton>(settings, "m_manual_proxy_radio_btn").click();
                child<QLineEdit>(settings, "m_proxy_server_line_edit").setText("gate.example.com");
                child<QLineEdit>(settings, "m_proxy_port_line_edit").setText("3128");
                child<QLineEdit>(settings, "m_proxy_username_line_edit").setText("ada");
                child<QLineEdit>(settings, "m_proxy_password_line_edit").setText("lovelace");
                m_photographer.shoot(settings, "settings");
                child<QRadioButton>(settings, "m_default_proxy_radio_btn").click();
                settings.reject();
            });
        press("m_settings_button");
    }

    void show_downloading()
    {
        for (const auto& [name, percent] :
             {std::pair("veltrin_base", 41), std::pair("orion", 8), std::pair("lyra", 76),
              std::pair("vprogrammer", 100), std::pair("vscope", 100), std::pair("morlan_fe", 23)})
            m_made_up.lay_part(m_download_dir, name, percent);
        for (const char* name : {"veltrin_base", "orion", "lyra", "morlan_fe", "flexlm"})
            m_made_up.set_fault(name, FAULT::trickle(400'000, 50ms));
        child<QCheckBox>(m_dialog, "m_agree_license_checkbox").setChecked(true);
        at_moment(
            "a running download",
            [this]
            {
                return text_of(m_dialog, "m_download_message_label").startsWith("Downloading") &&
                       text_of(m_dialog, "m_time_label").startsWith("Est.") &&
                       !text_of(m_dialog, "m_avg_download_speed_label").isEmpty() &&
                       rows_in_state(m_dialog, VINST_INTEGRITY_STATE::passed) == 2;
            },
            [this]
            {
                m_photographer.shoot(m_dialog, "main-downloading");
                press("m_stop_button");
            });
        m_dialog.start_download();
        m_made_up.clear_faults();
    }

    void show_failed()
    {
        forget_checks();
        m_made_up.lay_whole(m_download_dir);
        m_made_up.lay_wrong(m_download_dir, "vscope");
        m_made_up.lay_part(m_download_dir, "orion", 37);
        m_made_up.set_fault("orion", FAULT::status(503));
        child<QSpinBox>(m_dialog, "m_retry_duration_spinbox").setValue(0);
        at_window<QMessageBox>("the report of failed components",
                               [this](QMessageBox& box)
                               {
                                   m_photographer.shoot(m_dialog, "main-failed");
                                   m_photographer.shoot(box, "message-failed");
                                   box.accept();
                               });
        m_dialog.start_download();
        m_made_up.clear_faults();
    }

    void show_checking_and_installed()
    {
        forget_checks();
        // A log of this run only.
        VINST_MESSAGES::instance().log_path += 'b';
        VINST_MESSAGES::instance().open_log();
        m_made_up.lay_whole(m_download_dir);
        at_moment(
            "a running check",
            [this]
            {
                return text_of(m_dialog, "m_download_message_label").startsWith("Checking") &&
                       rows_in_state(m_dialog, VINST_INTEGRITY_STATE::passed) > 0 &&
                       rows_in_state(m_dialog, VINST_INTEGRITY_STATE::checking) > 0;
            },
            [this] { m_photographer.shoot(m_dialog, "main-checking"); });
        at_window<QMessageBox>("the report of the installation",
                               [this](QMessageBox& box)
                               {
                                   m_photographer.shoot(m_dialog, "main-installed");
                                   m_photographer.shoot(box, "message-installed");
                                   box.accept();
                               });
        m_dialog.start_download();
    }

    void show_log()
    {
        m_dialog.show_log();
        auto* const viewer = m_dialog.findChild<VINST_LOG_VIEWER_DLG*>();
        settle();
        m_photographer.shoot(*viewer, "log-viewer");
        viewer->reject();
    }

    void show_question()
    {
        at_window<QMessageBox>("the question",
                               [this](QMessageBox& box)
                               {
                                   m_photographer.shoot(box, "message-question");
                                   box.reject();
                               });
        ask_in_box(&m_dialog, "Insufficient Disk Space",
                   "Disk space insufficient for download. Do you want to proceed?", true);
    }

    void show_feedback()
    {
        at_window<QMessageBox>("the feedback prompt",
                               [this](QMessageBox& box)
                               {
                                   m_photographer.shoot(box, "feedback");
                                   box.reject();
                               });
        m_dialog.close();
    }

    const PHOTOGRAPHER& m_photographer;
    MADE_UP_RELEASE m_made_up;
    std::unique_ptr<VINST_RELEASE> m_release;
    const std::filesystem::path m_download_dir;
    VINST_DOWNLOADER_DLG m_dialog;
};

/// The scenes of a release with many components; nothing is downloaded.
class LARGE_SESSION
{
public:
    LARGE_SESSION(const PHOTOGRAPHER& photographer, const QDir& home)
        : m_photographer(photographer), m_release(made(home)),
          m_dialog(*m_release, {"linux", true, made_up_volume, {}})
    {
    }

    void play()
    {
        m_dialog.open();
        auto& tree = child<QTreeView>(m_dialog, "m_download_treeview");
        tree.setCurrentIndex(tree.model()->index(0, 0, tree.model()->index(0, 0)));
        settle();
        m_photographer.shoot(m_dialog, "large-idle");
        auto& filter = child<QLineEdit>(m_dialog, "m_filter_edit");
        filter.setText("family_1 part 7");
        settle();
        m_photographer.shoot(m_dialog, "large-filtered");
        filter.clear();
        tree.collapseAll();
        settle();
        m_photographer.shoot(m_dialog, "large-collapsed");
        show_long_message();
        expect_all_moments();
    }

private:
    static std::unique_ptr<VINST_RELEASE> made(const QDir& home)
    {
        RELEASE_BUILDER builder(home.filePath("release").toStdString());
        add_many_components(builder);
        return parse_manifest(QString::fromStdString(builder.write().string()),
                              [](const QByteArray&) {});
    }

    static void settle()
    {
        QEventLoop loop;
        QTimer::singleShot(400ms, &loop, &QEventLoop::quit);
        loop.exec();
    }

    void show_long_message()
    {
        std::string text = "80 components could not be downloaded.\n\n";
        for (int i = 1; i <= 80; ++i)
            text += " - Device support of the family " + std::to_string(i) + '\n';
        at_window<QMessageBox>("the long message",
                               [this](QMessageBox& box)
                               {
                                   m_photographer.shoot(box, "large-message");
                                   box.accept();
                               });
        show_message_box(text, true);
    }

    const PHOTOGRAPHER& m_photographer;
    std::unique_ptr<VINST_RELEASE> m_release;
    VINST_DOWNLOADER_DLG m_dialog;
};

}

int main(int argc, char** argv)
{
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps); // as in the program
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() < 2 || arguments.size() > 5)
    {
        std::fprintf(stderr, "Usage: vinst_screenshots DIRECTORY [SUFFIX [PALETTE [large]]]\n"
                             "Saves the windows' pictures as DIRECTORY/NAME[SUFFIX].png, those of "
                             "another release with \"large\". PALETTE is \"light\" or \"dark\". "
                             "HOME must be an empty directory.\n");
        return 2;
    }
    QApplication::setStyle(new AFCQ_STYLE);
    QApplication::setFont(QFont("DejaVu Sans", 9));
    if (arguments.value(3) == "dark")
        QApplication::setPalette(dark_palette());
    set_message_box(show_message_box);

    const QDir home = QDir::home();
    if (!home.isEmpty())
        fail("HOME is not an empty directory: " + home.path());
    home.mkdir("tmp");
    VINST_MESSAGES::instance().log_path = utf8(home.filePath("tmp/vinst_c3k8x1"));
    VINST_MESSAGES::instance().open_log();
    try
    {
        const PHOTOGRAPHER photographer(QDir(arguments[1]), arguments.value(2));
        if (arguments.value(4) == "large")
            LARGE_SESSION(photographer, home).play();
        else
            SESSION(photographer, home).play();
    }
    catch (const std::exception& error)
    {
        fail(error.what());
    }
    VINST_MESSAGES::destroy();
    return 0;
}
