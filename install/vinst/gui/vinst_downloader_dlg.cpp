#include "install/vinst/gui/vinst_downloader_dlg.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_stop.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/base/vinst_utils.h"
#include "install/vinst/gui/vinst_dialog_header.h"
#include "install/vinst/gui/vinst_downloader_dlg_rules.h"
#include "install/vinst/gui/vinst_feedback_prompt.h"
#include "install/vinst/gui/vinst_label_ground.h"
#include "install/vinst/gui/vinst_log_viewer_dlg.h"
#include "install/vinst/gui/vinst_message_box.h"
#include "install/vinst/gui/vinst_modal_dialogs.h"
#include "install/vinst/gui/vinst_settings_dlg.h"
#include "install/vinst/gui/vinst_window_progress.h"
#include "support/afcq/afcq_colors.h"
#include "support/afcq/afcq_images.h"
#include "ui_vinst_downloader_dlg.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QShortcut>
#include <QUrl>

#include <utility>

namespace
{

constexpr std::chrono::milliseconds typing_pause{300};

const QString geometry_key = QStringLiteral("FrameGeometry");
const QString download_dir_key = QStringLiteral("vinst_downloader_download_dir");
const QString install_dir_key = QStringLiteral("vinst_downloader_install_dir");
const QString auto_install_key = QStringLiteral("vinst_downloader_auto_install");
const QString splitter_key = QStringLiteral("vinst_downloader_splitter");

QString licence_path()
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + "/../licenses/main.html");
}

VINST_DIRECTORY_FACTS facts_about(const QString& path)
{
    VINST_DIRECTORY_FACTS facts;
    facts.path = path;
    const QString dir = nearest_existing_dir(path);
    facts.is_writable = QFileInfo(dir).isWritable();
    // The first part of the path that is not a directory.
    const QString rest = QDir(dir).relativeFilePath(QDir(path).absolutePath());
    facts.is_other_file = rest != "." && QFileInfo::exists(dir + '/' + rest.section('/', 0, 0));
    return facts;
}

void set_optional_text(QLabel& label, const QString& text)
{
    label.setText(text);
    label.setVisible(!text.isEmpty());
}

/// Divides a row among its labels in proportion to their texts. They wrap only if the row is too
/// short for all of them.
void share_row(QGridLayout& row)
{
    for (int column = 0; column < row.columnCount(); ++column)
    {
        QLayoutItem* const item = row.itemAtPosition(0, column);
        const auto* const label =
            item != nullptr ? qobject_cast<const QLabel*>(item->widget()) : nullptr;
        if (label != nullptr)
            row.setColumnStretch(
                column,
                label->isHidden() ? 0 : label->fontMetrics().horizontalAdvance(label->text()));
    }
}

}

VINST_DOWNLOADER_DLG::VINST_DOWNLOADER_DLG(VINST_RELEASE& release, VINST_DIALOG_HOST host)
    : m_release(release), m_host(std::move(host)), m_ui(new Ui::VINST_DOWNLOADER_DLG),
      m_settings_key(program_title()), m_display(*m_ui), m_manager(release, m_display),
      m_job(release, m_manager, m_host, m_display, *this),
      m_settings_dlg(new VINST_SETTINGS_DLG(release, this)),
      m_log_viewer_dlg(new VINST_LOG_VIEWER_DLG(this)), m_platform(m_settings_dlg->platform()),
      m_stop_subscription(
          [this] {
              QMetaObject::invokeMethod(this, &VINST_DOWNLOADER_DLG::stop_for_exit,
                                        Qt::QueuedConnection);
          })
{
    m_ui->setupUi(this);
    setWindowTitle(program_title());
    m_display.set_up(m_job, *this, m_host);
    setWindowIcon(afcq_get_icon(afcq_window_icon));
    m_directory_timer.setSingleShot(true);
    m_directory_timer.setInterval(typing_pause);

    m_no_description = m_ui->m_description_label->text();
    set_up_header();
    m_ui->m_download_treeview->set_release(m_release);
    restore_settings();
    m_manager.set_rate_limit(m_settings_dlg->rate_limit());
    set_up_connections();
    rebuild_platform();
    m_ui->m_after_install_actions->restore(m_settings_key);
    return_to_idle();
}

VINST_DOWNLOADER_DLG::~VINST_DOWNLOADER_DLG()
{
    save_settings();
}

void VINST_DOWNLOADER_DLG::set_up_header()
{
    fill_dialog_header(*m_ui->m_title_label, *m_ui->m_version_label, *m_ui->m_logo_label,
                       m_release);
    m_ui->m_license_agreement_label->setOpenExternalLinks(false);
    // A text that can be selected would get the focus by a click.
    m_ui->m_component_title_label->setFocusPolicy(Qt::NoFocus);
}

void VINST_DOWNLOADER_DLG::set_up_connections()
{
    const auto on_click = [this](const QAbstractButton* button, auto slot)
    { connect(button, &QAbstractButton::clicked, this, slot); };
    on_click(m_ui->m_download_button, &VINST_DOWNLOADER_DLG::start_download);
    on_click(m_ui->m_stop_button, &VINST_DOWNLOADER_DLG::stop_download);
    on_click(m_ui->m_settings_button, &VINST_DOWNLOADER_DLG::show_settings);
    on_click(m_ui->m_log_button, &VINST_DOWNLOADER_DLG::show_log);
    on_click(m_ui->m_help_button, &VINST_DOWNLOADER_DLG::show_help);
    on_click(m_ui->m_close_button, &QWidget::close);

    for (auto* edit : {m_ui->m_download_dir_line_edit, m_ui->m_install_dir_line_edit})
    {
        connect(edit, &AFCQ_LINE_EDIT_BROWSE_BUTTON::browse_clicked_signal, this,
                &VINST_DOWNLOADER_DLG::browse_clicked);
        connect(edit, &AFCQ_LINE_EDIT_BROWSE_BUTTON::text_changed, &m_directory_timer,
                qOverload<>(&QTimer::start));
    }
    connect(&m_directory_timer, &QTimer::timeout, this,
            [this]
            {
                take_directories();
                m_ui->m_download_treeview->refresh_from_files();
                hand_components_to_manager();
                update_space_labels();
            });

    const VINST_JOB_END_VIEW* const end_view = m_ui->m_job_end_view;
    connect(end_view, &VINST_JOB_END_VIEW::log_wanted, this, &VINST_DOWNLOADER_DLG::show_log);
    connect(end_view, &VINST_JOB_END_VIEW::retry_wanted, this,
            &VINST_DOWNLOADER_DLG::start_download);
    connect(end_view, &VINST_JOB_END_VIEW::folder_wanted, this,
            [](const QString& dir) { open_url(QUrl::fromLocalFile(dir)); });
    connect(m_ui->m_install_options_groupbox, &QGroupBox::toggled, m_ui->m_install_options_area,
            &QWidget::setVisible);
    connect(m_ui->m_install_options_groupbox, &QGroupBox::clicked, this,
            &VINST_DOWNLOADER_DLG::apply_auto_install_choice);
    connect(m_ui->m_license_agreement_label, &QLabel::linkActivated, this,
            [] { open_url(QUrl::fromLocalFile(licence_path())); });
    connect(m_settings_dlg, &VINST_SETTINGS_DLG::platform_changed, this,
            &VINST_DOWNLOADER_DLG::change_platform);
    connect(m_settings_dlg, &VINST_SETTINGS_DLG::rate_limit_changed, this,
            &VINST_DOWNLOADER_DLG::change_rate_limit);
    connect(m_ui->m_download_treeview, &VINST_DOWNLOADER_TREEVIEW::selection_changed, this,
            &VINST_DOWNLOADER_DLG::follow_clicks);
    connect(m_ui->m_download_treeview, &VINST_DOWNLOADER_TREEVIEW::run_reported, this,
            [this](const QString& status)
            {
                if (!m_is_busy) // a job's status is more important
                    m_display.show_status(status);
            });
    connect(m_ui->m_download_treeview, &VINST_DOWNLOADER_TREEVIEW::current_component_changed,
            m_ui->m_description_label, &VINST_DESCRIPTION_LABEL::show_description);
    connect(m_ui->m_download_treeview, &VINST_DOWNLOADER_TREEVIEW::current_title_changed, this,
            [this](const QString& title)
            {
                m_ui->m_component_title_label->show_description(title);
                m_ui->m_component_title_label->show();
            });
    set_up_filter();
}

void VINST_DOWNLOADER_DLG::set_up_filter()
{
    AFCQ_SEARCH_EDIT& edit = *m_ui->m_filter_edit;
    m_ui->m_no_match_label->hide();
    // The tree has the focus at first, although the filter is above it. Later, because the tree
    // then makes a row the current one.
    QTimer::singleShot(0, this,
                       [this, &edit]
                       {
                           if (focusWidget() == nullptr || focusWidget() == &edit)
                               m_ui->m_download_treeview->setFocus();
                       });
    connect(&edit, &QLineEdit::textChanged, this,
            [this](const QString& text)
            { m_ui->m_no_match_label->setHidden(m_ui->m_download_treeview->set_filter(text)); });
    connect(&edit, &AFCQ_SEARCH_EDIT::next_requested, m_ui->m_download_treeview,
            qOverload<>(&QWidget::setFocus));
    auto* const shortcut = new QShortcut(QKeySequence::Find, this);
    connect(shortcut, &QShortcut::activated, &edit,
            [&edit]
            {
                edit.setFocus(Qt::ShortcutFocusReason);
                edit.selectAll();
            });
}

void VINST_DOWNLOADER_DLG::restore_settings()
{
    restore_geometry(m_settings_key.get_value(geometry_key).toByteArray());
    const auto stored_or = [this](const QString& key, const QString& otherwise)
    {
        const QString stored = m_settings_key.get_value(key).toString();
        return stored.isEmpty() ? otherwise : stored;
    };
    m_ui->m_download_dir_line_edit->set_text(
        stored_or(download_dir_key, m_release.default_download_dir()));
    m_ui->m_install_dir_line_edit->set_text(
        stored_or(install_dir_key, m_release.default_install_dir(m_host.platform)));
    if (const QVariant stored = m_settings_key.get_value(auto_install_key); stored.isValid())
        m_ui->m_install_options_groupbox->setChecked(stored.toBool());
    m_ui->m_install_options_area->setVisible(auto_installs());
    m_ui->m_content_splitter->restoreState(m_settings_key.get_value(splitter_key).toByteArray());
    m_never_ask_feedback = is_feedback_refused(m_settings_key);
    take_directories();
}

void VINST_DOWNLOADER_DLG::save_settings()
{
    m_settings_key.set_value(geometry_key, saveGeometry());
    m_settings_key.set_value(download_dir_key, m_ui->m_download_dir_line_edit->text());
    m_settings_key.set_value(install_dir_key, m_ui->m_install_dir_line_edit->text());
    m_settings_key.set_value(auto_install_key, m_ui->m_install_options_groupbox->isChecked());
    m_settings_key.set_value(splitter_key, m_ui->m_content_splitter->saveState());
    m_ui->m_after_install_actions->save(m_settings_key);
    m_ui->m_download_treeview->save_states();
}

void VINST_DOWNLOADER_DLG::change_platform(const QString& platform)
{
    m_ui->m_download_treeview->save_states();
    m_platform = platform;
    rebuild_platform();
}

void VINST_DOWNLOADER_DLG::rebuild_platform()
{
    VINST_DOWNLOADER_TREEVIEW& tree = *m_ui->m_download_treeview;
    tree.set_platform(m_platform);
    tree.populate();
    tree.restore_states();
    m_ui->m_description_label->setTextFormat(Qt::AutoText);
    m_ui->m_description_label->setText(m_no_description);
    m_display.forget_end();
    m_ui->m_component_title_label->hide();
    m_ui->m_after_install_actions->rebuild(m_release, m_platform);
    m_ui->line_separator->setVisible(m_ui->m_after_install_actions->has_actions());
    apply_auto_install_availability();
    follow_selection();
}

void VINST_DOWNLOADER_DLG::apply_auto_install_availability()
{
    const VINST_AUTO_INSTALL_AVAILABILITY availability =
        auto_install_availability(m_platform, m_host.platform, m_host.is_admin);
    QGroupBox& box = *m_ui->m_install_options_groupbox;
    box.setTitle(availability.title);
    box.setToolTip(availability.tooltip);
    box.setEnabled(availability.is_available);
    if (!availability.is_available)
        box.setChecked(false);
    m_ui->m_download_treeview->show_run_column(offers_manual_run(availability, box.isChecked()));
    update_licence_link();
}

void VINST_DOWNLOADER_DLG::apply_auto_install_choice()
{
    apply_auto_install_availability();
    m_ui->m_after_install_actions->follow_selection(auto_installs());
    update_space_labels();
}

void VINST_DOWNLOADER_DLG::follow_clicks()
{
    const VINST_COMPONENT_LIST needed = complete_selection();
    m_job.forget_times();
    m_display.forget_end();
    follow_selection();
    m_ui->m_download_treeview->hide_bars_of_deselected();
    if (!needed.empty())
        m_display.show_status(needed_components_status(needed));
}

VINST_COMPONENT_LIST VINST_DOWNLOADER_DLG::complete_selection()
{
    // A component without its dependencies would not be installed. Checking them may also check
    // their children, which may have dependencies in turn.
    VINST_COMPONENT_LIST all;
    for (;;)
    {
        VINST_COMPONENT_LIST needed = missing_dependencies(m_release, m_platform);
        needed.erase(
            std::remove_if(needed.begin(), needed.end(),
                           [&all](const VINST_COMPONENT* component)
                           { return std::find(all.begin(), all.end(), component) != all.end(); }),
            needed.end());
        if (needed.empty())
            return all;
        m_ui->m_download_treeview->check(needed);
        all.insert(all.end(), needed.begin(), needed.end());
    }
}

void VINST_DOWNLOADER_DLG::follow_selection()
{
    hand_components_to_manager();
    m_ui->m_after_install_actions->follow_selection(auto_installs());
    update_space_labels();
}

void VINST_DOWNLOADER_DLG::hand_components_to_manager()
{
    m_manager.set_components(
        selected_components(m_release, VINST_COMPONENT_KIND::download, m_platform), true);
}

void VINST_DOWNLOADER_DLG::update_space_labels()
{
    const VINST_SPACE_AVAILABLE available{
        m_host.query_volume(nearest_existing_dir(m_release.ensure_download_dir())),
        m_host.query_volume(nearest_existing_dir(m_release.install_dir()))};
    const VINST_SPACE_FIGURES figures = space_figures(m_release, m_platform);
    const VINST_SPACE_LABELS labels = space_labels(figures, available, auto_installs());
    m_ui->m_total_download_size_label->setText(labels.download_size);
    m_ui->m_total_install_size_label->setText(labels.install_size);
    m_ui->m_disk_space_required_label->setText(labels.required);
    set_optional_text(*m_ui->m_disk_space_available_label, labels.available);
    set_optional_text(*m_ui->m_download_disk_space_available_label, labels.download_available);
    set_optional_text(*m_ui->m_installation_disk_space_available_label, labels.install_available);
    share_row(*m_ui->gridLayout_5);
    update_directory_problems(figures, available);
}

void VINST_DOWNLOADER_DLG::update_directory_problems(const VINST_SPACE_FIGURES& figures,
                                                     const VINST_SPACE_AVAILABLE& available)
{
    VINST_DIRECTORY_FACTS download = facts_about(m_ui->m_download_dir_line_edit->text());
    download.needed = figures.to_download;
    download.available = available.download.available;
    set_optional_text(*m_ui->m_download_dir_problem_label, directory_problem(download));

    VINST_DIRECTORY_FACTS install = facts_about(m_ui->m_install_dir_line_edit->text());
    install.is_occupied = !is_empty_or_missing_dir(install.path) &&
                          !m_job.continues_in(install.path) &&
                          !m_display.has_installed_to(install.path);
    install.needed = figures.to_install + (available.is_one_volume() ? figures.to_download : 0);
    install.available = available.install.available;
    set_optional_text(*m_ui->m_install_dir_problem_label,
                      auto_installs() ? directory_problem(install) : QString());
}

void VINST_DOWNLOADER_DLG::update_licence_link()
{
    m_ui->m_license_agreement_label->setText(
        licence_link(licence_path(), auto_installs() && !m_is_busy));
    update_label_grounds();
}

void VINST_DOWNLOADER_DLG::update_label_grounds()
{
    const bool is_dark = afcq_is_dark(palette());
    m_display.follow_palette();
    for (QLabel* const label :
         {m_ui->m_download_dir_problem_label, m_ui->m_install_dir_problem_label})
        label->setStyleSheet(is_dark ? "QLabel { color : #ff8a80; }"
                                     : "QLabel { color : #b00020; }");
    // The inactive link has a light colour itself.
    const bool is_blue = auto_installs() && !m_is_busy;
    set_readable_ground(*m_ui->m_license_agreement_label, is_blue ? QColor(Qt::blue) : QColor());
}

void VINST_DOWNLOADER_DLG::take_directories()
{
    m_directory_timer.stop();
    m_release.set_download_dir(m_ui->m_download_dir_line_edit->text());
    m_release.set_install_dir(m_ui->m_install_dir_line_edit->text());
}

bool VINST_DOWNLOADER_DLG::auto_installs() const
{
    return m_ui->m_install_options_groupbox->isChecked();
}

void VINST_DOWNLOADER_DLG::show_settings()
{
    if (!m_is_busy)
        exec_modal(*m_settings_dlg);
    else if (!is_shutting_down())
        m_settings_dlg->open();
}

void VINST_DOWNLOADER_DLG::change_rate_limit(quint64 bytes_per_second)
{
    m_manager.set_rate_limit(bytes_per_second);
    run_log().info("Rate limit: %s", bytes_per_second > 0
                                         ? utf8(readable_size(bytes_per_second)) + "/sec"
                                         : std::string("none"));
}

void VINST_DOWNLOADER_DLG::show_log()
{
    if (m_log_viewer_dlg->isHidden())
        m_log_viewer_dlg->show();
    else if (m_log_viewer_dlg->isMinimized())
        m_log_viewer_dlg->showNormal();
    else
    {
        m_log_viewer_dlg->raise();
        m_log_viewer_dlg->activateWindow();
    }
}

void VINST_DOWNLOADER_DLG::show_help()
{
    open_url(QUrl(m_release.documentation_url()));
}

void VINST_DOWNLOADER_DLG::browse_clicked()
{
    auto* const edit = qobject_cast<AFCQ_LINE_EDIT_BROWSE_BUTTON*>(sender());
    if (edit == nullptr || is_shutting_down())
        return;
    const QString dir = m_host.choose_directory(this, edit->text());
    if (!dir.isEmpty())
        edit->set_text(QDir::toNativeSeparators(dir));
}

void VINST_DOWNLOADER_DLG::reject()
{
    close();
}

void VINST_DOWNLOADER_DLG::closeEvent(QCloseEvent* event)
{
    const char* obstacle = m_is_busy             ? "ERROR_DOWNLOAD_IN_PROGRESS"
                           : is_checking_files() ? "ERROR_CHECK_INTEGRITY_IN_PROGRESS"
                                                 : nullptr;
    if (obstacle != nullptr)
        show_message_box(message(obstacle), false);
    // A stop of the process may have been requested while the box was open. Checks are then
    // cancelled below, but a job must unwind first and closes the window afterwards.
    if (m_is_busy || (obstacle != nullptr && !is_shutting_down()))
    {
        event->ignore();
        return;
    }
    if (is_shutting_down())
        run_log().info("Stop requested, closing the window");
    if (!m_never_ask_feedback)
        show_feedback_prompt(m_release, m_settings_key, this);
    m_manager.abort_on_close();
    m_log_viewer_dlg->close();
    event->accept();
}

void VINST_DOWNLOADER_DLG::changeEvent(QEvent* event)
{
    AFCQ_DIALOG::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && m_ui != nullptr)
        update_label_grounds();
    if (event->type() == QEvent::WindowStateChange && m_display.outside() != nullptr)
        m_display.outside()->follow_window_state();
}
