#include "install/vinst/gui/vinst_settings_dlg.h"

#include "install/vinst/base/vinst_limits.h"
#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_stop.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/base/vinst_utils.h"
#include "install/vinst/download/vinst_connection_test.h"
#include "install/vinst/download/vinst_downloader_view.h"
#include "install/vinst/gui/vinst_dialog_header.h"
#include "install/vinst/gui/vinst_message_box.h"
#include "install/vinst/gui/vinst_settings_dlg_rules.h"
#include "install/vinst/release/vinst_data.h"
#include "support/afcq/afcq_colors.h"
#include "support/afcq/afcq_dialog.h"
#include "support/afcq/afcq_images.h"
#include "ui_vinst_settings_dlg.h"

#include <QCoreApplication>
#include <QShowEvent>
#include <QUrl>

#include <algorithm>
#include <utility>

namespace
{

const QString proxy_option_key = QStringLiteral("vinst_proxy_option");
const QString proxy_server_key = QStringLiteral("vinst_proxy_server");
const QString proxy_port_key = QStringLiteral("vinst_proxy_port");
const QString parallel_download_key = QStringLiteral("vinst_parallel_download");
const QString retry_duration_key = QStringLiteral("vinst_retry_duration");
const QString platform_key = QStringLiteral("vinst_os");
const QString rate_limit_key = QStringLiteral("vinst_rate_limit"); // MB per second

constexpr double lowest_rate_limit = 0.01;         // MB per second; 0 is none
constexpr double bytes_per_megabyte = 1024 * 1024; // as in all sizes that the program shows

}

VINST_SETTINGS_DLG::VINST_SETTINGS_DLG(VINST_RELEASE& release, QWidget* parent)
    : QDialog(parent), m_release(release), m_ui(new Ui::VINST_SETTINGS_DLG),
      m_settings_key(program_title())
{
    m_ui->setupUi(this);
    setWindowTitle(program_title() + " - Settings");
    setWindowIcon(afcq_get_icon(afcq_window_icon));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    setSizeGripEnabled(true);
    fill_dialog_header(*m_ui->m_title_label, *m_ui->m_version_label, *m_ui->m_logo_label,
                       m_release);
    show_limits();
    set_up_connections();
    load();
}

VINST_SETTINGS_DLG::~VINST_SETTINGS_DLG() = default;

void VINST_SETTINGS_DLG::show_limits()
{
    m_ui->m_parallel_download_spinbox->setRange(vinst_parallel_downloads.lowest,
                                                vinst_parallel_downloads.highest);
    m_ui->m_retry_duration_spinbox->setRange(vinst_retry_minutes.lowest,
                                             vinst_retry_minutes.highest);
    // The decimal point is a point, as in all numbers that the program shows.
    m_ui->m_rate_limit_spinbox->setLocale(QLocale::c());
    m_ui->m_parallel_download_label->setText(QString::fromStdString(
        "Number of parallel download threads (" + vinst_parallel_downloads.range_text() + "):"));
    m_ui->m_retry_duration_label->setText(QString::fromStdString(
        "Retry duration (" + vinst_retry_minutes.range_text() + " in minutes):"));
}

void VINST_SETTINGS_DLG::set_up_connections()
{
    connect(m_ui->m_apply_btn, &QAbstractButton::clicked, this, &VINST_SETTINGS_DLG::apply);
    connect(m_ui->m_ok_btn, &QAbstractButton::clicked, this, &VINST_SETTINGS_DLG::accept);
    connect(m_ui->m_cancel_btn, &QAbstractButton::clicked, this, &VINST_SETTINGS_DLG::reject);
    connect(m_ui->m_test_internet_connection_btn, &QAbstractButton::clicked, this,
            &VINST_SETTINGS_DLG::test_connection);
    connect(m_ui->m_feedback_btn, &QAbstractButton::clicked, this,
            [this] { open_url(QUrl(m_release.survey_url())); });

    connect(m_ui->m_proxy_port_line_edit, &QLineEdit::textChanged, this,
            &VINST_SETTINGS_DLG::show_port_problem);
    for (const QRadioButton* button :
         {m_ui->m_default_proxy_radio_btn, m_ui->m_manual_proxy_radio_btn})
        connect(button, &QAbstractButton::toggled, this, &VINST_SETTINGS_DLG::enable_proxy_edits);
    for (const QRadioButton* button :
         {m_ui->m_default_proxy_radio_btn, m_ui->m_manual_proxy_radio_btn, m_ui->m_linux_radio_btn,
          m_ui->m_windows_radio_btn})
        connect(button, &QAbstractButton::toggled, this, &VINST_SETTINGS_DLG::note_change);
    for (const QSpinBox* box : {m_ui->m_parallel_download_spinbox, m_ui->m_retry_duration_spinbox})
        connect(box, qOverload<int>(&QSpinBox::valueChanged), this,
                &VINST_SETTINGS_DLG::note_change);
    connect(m_ui->m_rate_limit_spinbox, qOverload<double>(&QDoubleSpinBox::valueChanged), this,
            &VINST_SETTINGS_DLG::note_change);
    for (const QLineEdit* edit :
         {m_ui->m_proxy_server_line_edit, m_ui->m_proxy_port_line_edit,
          m_ui->m_proxy_username_line_edit, m_ui->m_proxy_password_line_edit})
        connect(edit, &QLineEdit::textChanged, this, &VINST_SETTINGS_DLG::note_change);
}

int VINST_SETTINGS_DLG::parallel_downloads() const
{
    return m_ui->m_parallel_download_spinbox->value();
}

std::chrono::minutes VINST_SETTINGS_DLG::retry_duration() const
{
    return std::chrono::minutes(m_ui->m_retry_duration_spinbox->value());
}

quint64 VINST_SETTINGS_DLG::rate_limit() const
{
    return static_cast<quint64>(m_ui->m_rate_limit_spinbox->value() * bytes_per_megabyte);
}

void VINST_SETTINGS_DLG::set_job_running(bool is_running)
{
    for (QWidget* widget : std::initializer_list<QWidget*>{
             m_ui->m_parallel_download_label, m_ui->m_parallel_download_spinbox,
             m_ui->m_retry_duration_label, m_ui->m_retry_duration_spinbox,
             m_ui->m_internet_connection_settings_groupbox, m_ui->m_platform_groupbox,
             m_ui->m_proxy_settings_groupbox})
        widget->setEnabled(!is_running);
}

bool VINST_SETTINGS_DLG::uses_default_proxy() const
{
    return m_ui->m_default_proxy_radio_btn->isChecked();
}

CURL_PROXY_INFO VINST_SETTINGS_DLG::proxy_info() const
{
    const VINST_PROXY_SETTINGS settings = proxy_settings();
    return {settings.server, settings.port, settings.username, settings.password};
}

VINST_PROXY_SETTINGS VINST_SETTINGS_DLG::proxy_settings() const
{
    VINST_PROXY_SETTINGS settings;
    settings.server = utf8(m_ui->m_proxy_server_line_edit->text().trimmed());
    settings.port = utf8(m_ui->m_proxy_port_line_edit->text().trimmed());
    settings.username = utf8(m_ui->m_proxy_username_line_edit->text());
    settings.password = utf8(m_ui->m_proxy_password_line_edit->text());
    settings.use_default_proxy = uses_default_proxy();
    settings.source = manual_proxy_source;
    return settings;
}

int VINST_SETTINGS_DLG::exec()
{
    load();
    return QDialog::exec();
}

void VINST_SETTINGS_DLG::open()
{
    load();
    QDialog::open();
}

void VINST_SETTINGS_DLG::showEvent(QShowEvent* event)
{
    if (!event->spontaneous())
    {
        // The texts of the content may have changed while it was hidden.
        m_ui->m_content_scroll_area->updateGeometry();
        resize(size().expandedTo(sizeHint())); // of the content; it scrolls on a small screen
    }
    QDialog::showEvent(event);
    if (!event->spontaneous())
        afcq_fit_onto_screens(*this);
}

void VINST_SETTINGS_DLG::accept()
{
    if (ends_test_first(QDialog::Accepted))
        return;
    apply();
    QDialog::accept();
}

void VINST_SETTINGS_DLG::reject()
{
    if (ends_test_first(QDialog::Rejected))
        return;
    // The next download reads the fields, so discard the changes.
    load();
    m_ui->m_proxy_username_line_edit->setText(m_applied_username);
    m_ui->m_proxy_password_line_edit->setText(m_applied_password);
    QDialog::reject();
}

bool VINST_SETTINGS_DLG::ends_test_first(int result)
{
    // When the process is to stop, the test ends anyway, and no job can start meanwhile.
    if (!m_is_testing || is_shutting_down())
        return false;
    m_result_after_test = result;
    request_download_stop();
    return true;
}

void VINST_SETTINGS_DLG::load()
{
    const auto stored = [this](const QString& key) { return m_settings_key.get_value(key); };
    const auto stored_number = [&](const QString& key, int otherwise)
    {
        bool is_number = false;
        const int number = stored(key).toInt(&is_number);
        return is_number ? number : otherwise;
    };
    const bool is_manual = !stored(proxy_option_key).toString().isEmpty();
    m_ui->m_manual_proxy_radio_btn->setChecked(is_manual);
    m_ui->m_default_proxy_radio_btn->setChecked(!is_manual);
    m_ui->m_proxy_server_line_edit->setText(stored(proxy_server_key).toString());
    m_ui->m_proxy_port_line_edit->setText(stored(proxy_port_key).toString());
    m_ui->m_parallel_download_spinbox->setValue(
        stored_number(parallel_download_key, vinst_parallel_downloads.initial));
    m_ui->m_retry_duration_spinbox->setValue(
        stored_number(retry_duration_key, vinst_retry_minutes.initial));
    const double limit = stored(rate_limit_key).toDouble();
    // Rounding must not turn a low limit into none.
    m_ui->m_rate_limit_spinbox->setValue(limit > 0 ? std::max(limit, lowest_rate_limit) : 0);
    m_applied_rate_limit = rate_limit();

    const QString stored_platform = stored(platform_key).toString();
    const QString platform = stored_platform.isEmpty() ? host_platform() : stored_platform;
    m_platform = platform == "linux" ? "linux" : "windows";
    m_ui->m_linux_radio_btn->setChecked(m_platform == "linux");
    m_ui->m_windows_radio_btn->setChecked(m_platform != "linux");
    enable_proxy_edits();
    m_ui->m_default_proxy_label->setText(default_proxy_text(known_default_proxy(m_release)));
    m_ui->m_apply_btn->setEnabled(false);
}

void VINST_SETTINGS_DLG::apply()
{
    const bool is_linux = m_ui->m_linux_radio_btn->isChecked();
    const QString platform = is_linux ? "linux" : "windows";
    m_settings_key.set_value(proxy_option_key, uses_default_proxy() ? "" : "manual");
    m_settings_key.set_value(proxy_server_key, m_ui->m_proxy_server_line_edit->text());
    m_settings_key.set_value(proxy_port_key, m_ui->m_proxy_port_line_edit->text());
    m_settings_key.set_value(parallel_download_key, parallel_downloads());
    m_settings_key.set_value(retry_duration_key, m_ui->m_retry_duration_spinbox->value());
    m_settings_key.set_value(platform_key, platform);
    m_settings_key.set_value(rate_limit_key, m_ui->m_rate_limit_spinbox->value());
    m_applied_username = m_ui->m_proxy_username_line_edit->text();
    m_applied_password = m_ui->m_proxy_password_line_edit->text();
    m_ui->m_apply_btn->setEnabled(false);
    if (std::exchange(m_applied_rate_limit, rate_limit()) != rate_limit())
        Q_EMIT rate_limit_changed(rate_limit());
    if (platform == m_platform)
        return;
    m_platform = platform;
    Q_EMIT platform_changed(platform);
}

void VINST_SETTINGS_DLG::enable_proxy_edits()
{
    const bool is_manual = m_ui->m_manual_proxy_radio_btn->isChecked();
    for (QWidget* widget : std::initializer_list<QWidget*>{
             m_ui->m_proxy_server_label, m_ui->m_proxy_server_line_edit, m_ui->m_proxy_port_label,
             m_ui->m_proxy_port_line_edit, m_ui->m_proxy_username_label,
             m_ui->m_proxy_username_line_edit, m_ui->m_proxy_password_label,
             m_ui->m_proxy_password_line_edit})
        widget->setEnabled(is_manual);
    show_port_problem();
}

void VINST_SETTINGS_DLG::show_port_problem()
{
    QLineEdit& edit = *m_ui->m_proxy_port_line_edit;
    const QString problem = edit.isEnabled() ? port_problem(edit.text()) : QString();
    const QString color = afcq_is_dark(palette()) ? "#ff8a80" : "#b00020";
    m_ui->m_proxy_port_problem_label->setText(problem);
    m_ui->m_proxy_port_problem_label->setStyleSheet("QLabel { color : " + color + "; }");
    m_ui->m_proxy_port_problem_label->setHidden(problem.isEmpty());
    edit.setStyleSheet(problem.isEmpty() ? QString() : "QLineEdit { color : " + color + "; }");
    edit.setAccessibleDescription(problem);
}

void VINST_SETTINGS_DLG::note_change()
{
    m_ui->m_apply_btn->setEnabled(true);
    m_ui->m_ok_btn->setEnabled(true);
    Q_EMIT settings_changed();
}

void VINST_SETTINGS_DLG::test_connection()
{
    if (m_is_testing)
        return;
    m_is_testing = true;
    QPushButton& button = *m_ui->m_test_internet_connection_btn;
    button.setEnabled(false);
    button.setText(QString::fromStdString(message("TESTING_INTERNET_CONNECTION")));
    QCoreApplication::processEvents();

    VINST_DOWNLOADER_VIEW quiet;
    const VINST_CONNECTION_RESULT result = run_connection_test(m_release, quiet, proxy_settings());

    button.setEnabled(true);
    button.setText(QStringLiteral("Test internet connection"));
    m_is_testing = false;
    m_ui->m_default_proxy_label->setText(default_proxy_text(known_default_proxy(m_release)));
    if (m_result_after_test)
    {
        if (*std::exchange(m_result_after_test, std::nullopt) == QDialog::Accepted)
            accept();
        else
            reject();
        return;
    }
    show_message_box(result.works ? message("MSG_TEST_DOWNLOAD_SUCCESSFUL") : result.error,
                     !result.works);
}
