#include "tests/gui/downloader_dlg_fixture.h"

#include "install/vinst/release/vinst_parser.h"
#include "tests/harness/run_files.h"
#include "tests/harness/stop_request.h"

#include <QCheckBox>
#include <QSettings>
#include <QTimer>

DownloaderDlgTest::DownloaderDlgTest() : builder(dir / "release")
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

DownloaderDlgTest::~DownloaderDlgTest()
{
    dialog.reset();
    forget_stop_request();
}

void DownloaderDlgTest::forget_settings()
{
    QSettings(QSettings::UserScope, "Orvane", "vinst").clear();
}

void DownloaderDlgTest::open()
{
    open_during_checks();
    wait_for_checks();
}

void DownloaderDlgTest::open_during_checks()
{
    const std::string manifest = builder.write().string();
    server.serve_directory(dir / "release");
    release = parse_manifest(QString::fromStdString(manifest), [](const QByteArray&) {});
    ASSERT_NE(release, nullptr);
    show_dialog();
}

void DownloaderDlgTest::reopen()
{
    dialog.reset();
    show_dialog();
    wait_for_checks();
}

void DownloaderDlgTest::show_dialog()
{
    dialog = std::make_unique<VINST_DOWNLOADER_DLG>(*release, host);
    dialog->open();
}

void DownloaderDlgTest::wait_for_checks() const
{
    EXPECT_TRUE(QTest::qWaitFor([this] { return !dialog->is_checking_files(); }, long_wait));
}

void DownloaderDlgTest::click_row(int row)
{
    const QModelIndex index = tree().model()->index(row, 0);
    QTest::mouseClick(tree().viewport(), Qt::LeftButton, {}, tree().visualRect(index).center());
}

void DownloaderDlgTest::check_auto_install()
{
    auto_install().setChecked(true);
    Q_EMIT auto_install().clicked(true);
    find<QCheckBox>("m_agree_license_checkbox").setChecked(true);
}

void DownloaderDlgTest::when(std::function<bool()> condition, std::function<void()> action)
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

std::uintmax_t DownloaderDlgTest::size_of(const std::string& name) const
{
    return size_of_file(dir / name);
}

void DownloaderDlgTest::store(const QString& key, const QVariant& value)
{
    CFGQ_REGISTRY_KEY(program_title()).set_value(key, value);
}

QVariant DownloaderDlgTest::stored(const QString& key)
{
    return CFGQ_REGISTRY_KEY(program_title()).get_value(key);
}

QString DownloaderDlgTest::path(const std::string& name) const
{
    return QString::fromStdString((dir / name).string());
}

VINST_DOWNLOADER_TREEVIEW& DownloaderDlgTest::tree() const
{
    return find<VINST_DOWNLOADER_TREEVIEW>("m_download_treeview");
}

QLineEdit& DownloaderDlgTest::line(const char* name) const
{
    return *find<QWidget>(name).findChild<QLineEdit*>("m_line_edit");
}
