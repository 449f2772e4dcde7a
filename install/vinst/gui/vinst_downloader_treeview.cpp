#include "install/vinst/gui/vinst_downloader_treeview.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_platform.h"
#include "install/vinst/base/vinst_process.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/gui/vinst_downloader_treeview_delegates.h"
#include "install/vinst/gui/vinst_downloader_treeview_rules.h"
#include "install/vinst/gui/vinst_message_box.h"
#include "install/vinst/gui/vinst_tree_filter.h"
#include "install/vinst/gui/vinst_tree_selection.h"
#include "install/vinst/release/vinst_data_install.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QPointer>

#include <chrono>
#include <utility>

namespace
{

constexpr std::chrono::milliseconds batch_interval{200};
constexpr std::chrono::milliseconds layout_delay{50};
constexpr int progress_width = 100; // pixels

}

VINST_DOWNLOADER_TREEVIEW::VINST_DOWNLOADER_TREEVIEW(QWidget* parent)
    : AFCQ_TREE_VIEW(parent), m_settings_key(program_title()),
      m_model(new VINST_DOWNLOADER_TREEVIEW_MODEL(this)),
      m_integrity_delegate(new VINST_DOWNLOADER_TREEVIEW_INTEGRITY_DELEGATE(this)),
      m_run_button_delegate(new VINST_DOWNLOADER_TREEVIEW_RUN_BUTTON_DELEGATE(this)),
      m_selection(new VINST_TREE_SELECTION(*this))
{
    setModel(m_model);
    setItemDelegateForColumn(name_column, new VINST_DOWNLOADER_TREEVIEW_NAME_DELEGATE(this));
    setItemDelegateForColumn(progress_column,
                             new VINST_DOWNLOADER_TREEVIEW_PROGRESS_BAR_DELEGATE(this));
    setItemDelegateForColumn(integrity_column, m_integrity_delegate);
    setItemDelegateForColumn(run_column, m_run_button_delegate);
    setMouseTracking(true);
    setTextElideMode(Qt::ElideMiddle); // long names differ at both ends

    m_batch_timer.setSingleShot(true);
    m_batch_timer.setInterval(batch_interval);
    connect(&m_batch_timer, &QTimer::timeout, this, &VINST_DOWNLOADER_TREEVIEW::selection_changed);
    m_animation_timer.setInterval(m_integrity_delegate->frame_delay());
    connect(&m_animation_timer, &QTimer::timeout, this, &VINST_DOWNLOADER_TREEVIEW::animate);
    connect(this, &QAbstractItemView::clicked, this,
            [this](const QModelIndex& index)
            {
                if (index.column() == name_column)
                    toggle(index);
            });
    connect(m_run_button_delegate, &VINST_DOWNLOADER_TREEVIEW_RUN_BUTTON_DELEGATE::clicked, this,
            &VINST_DOWNLOADER_TREEVIEW::run_installer);
    connect(m_selection, &VINST_TREE_SELECTION::selected, this, [this] { m_batch_timer.start(); });
}

void VINST_DOWNLOADER_TREEVIEW::set_release(VINST_RELEASE& release)
{
    m_release = &release;
    m_selection->remember_defaults(release);
}

bool VINST_DOWNLOADER_TREEVIEW::set_filter(const QString& text)
{
    m_filter = text;
    const bool is_any_shown = filter_tree(*this, text);
    // What was searched for, likely. Not in a collapsed group, which would be expanded.
    if (text.isEmpty() && !visualRect(currentIndex()).isEmpty())
        scrollTo(currentIndex());
    return is_any_shown;
}

void VINST_DOWNLOADER_TREEVIEW::populate()
{
    m_batch_timer.stop();
    m_animation_timer.stop();
    m_checking_rows.clear();
    m_row_states.clear();
    auto* const model = new VINST_DOWNLOADER_TREEVIEW_MODEL(this);
    model->populate(*m_release, m_platform);
    setModel(model);
    delete m_model;
    m_model = model;

    connect(m_model, &VINST_DOWNLOADER_TREEVIEW_MODEL::states_changed, viewport(),
            qOverload<>(&QWidget::update));
    connect(selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex& current)
            {
                const ITEM* const row = m_model->row_at(current);
                if (row == nullptr)
                    return;
                Q_EMIT current_title_changed(row->component()->display_name());
                Q_EMIT current_component_changed(description_text(*row->component()));
            });
    for (const VINST_TREE_COLUMN column :
         {base_name_column, description_column, md5sum_column, sha1sum_column})
        hideColumn(column);
    setColumnHidden(run_column, !m_is_run_column_shown);
    expandAll();
    if (!m_filter.isEmpty())
        filter_tree(*this, m_filter);
    resize_columns();
    refresh_from_files();
    for (const VINST_COMPONENT* component : std::as_const(m_running))
        show_running(*component);
}

void VINST_DOWNLOADER_TREEVIEW::refresh_from_files()
{
    for (ITEM* row : m_model->rows())
    {
        show_state_of_file(*row);
        show_progress_text(*row, {});
        show_row_state(*row, {});
    }
    refresh_run_flags();
}

void VINST_DOWNLOADER_TREEVIEW::show_state_of_file(ITEM& row)
{
    const VINST_COMPONENT& component = *row.component();
    const auto file = FIO_FILE_SYSTEM::identity(utf8(component.file.path()));
    const bool is_whole =
        !component.filename.isEmpty() && file && file->size == component.expected_size();
    show_state(row, is_whole ? VINST_INTEGRITY_STATE::not_checked : VINST_INTEGRITY_STATE::none);
}

void VINST_DOWNLOADER_TREEVIEW::resize_columns()
{
    for (int column = 0; column < m_model->columnCount(); ++column)
        resizeColumnToContents(column);
    setColumnWidth(progress_column, progress_width);
    header()->setStretchLastSection(false);
    header()->setSectionResizeMode(name_column, QHeaderView::Stretch);
}

void VINST_DOWNLOADER_TREEVIEW::set_editable(bool is_editable)
{
    m_is_busy = !is_editable;
    m_run_button_delegate->set_enabled(is_editable);
    m_selection->set_enabled(is_editable);
    setSelectionMode(is_editable ? QAbstractItemView::SingleSelection
                                 : QAbstractItemView::NoSelection);
}

void VINST_DOWNLOADER_TREEVIEW::show_run_column(bool is_shown)
{
    m_is_run_column_shown = is_shown;
    setColumnHidden(run_column, !is_shown);
}

void VINST_DOWNLOADER_TREEVIEW::save_states()
{
    for (const ITEM* row : m_model->rows())
        m_settings_key.set_value(row->data(Qt::UserRole).toString(),
                                 static_cast<uint>(row->checkState()));
}

void VINST_DOWNLOADER_TREEVIEW::restore_states()
{
    for (ITEM* row : m_model->rows())
    {
        bool is_number = false;
        const uint stored =
            m_settings_key.get_value(row->data(Qt::UserRole).toString()).toUInt(&is_number);
        if (is_number && stored <= Qt::Checked)
            m_model->set_alone(*row, static_cast<Qt::CheckState>(stored));
    }
    m_model->recompute();
}

void VINST_DOWNLOADER_TREEVIEW::check(const VINST_COMPONENT_LIST& components)
{
    for (const VINST_COMPONENT* component : components)
        if (ITEM* const row = m_model->row_of(component))
            row->setCheckState(Qt::Checked);
}

void VINST_DOWNLOADER_TREEVIEW::show_percentage(const VINST_COMPONENT* component, quint64 percent)
{
    ITEM* const row = m_model->row_of(component);
    if (row == nullptr)
        return;
    // Before a job, an empty bar would only distract.
    const bool is_shown = m_is_busy || percent > 0;
    show_progress_text(*row, is_shown ? QString::number(percent) + '%' : QString());
}

void VINST_DOWNLOADER_TREEVIEW::show_progress_text(ITEM& row, const QString& text)
{
    QStandardItem& cell = *row.cell(progress_column);
    if (!m_model->store(cell, text))
        return;
    name_progress(row);
    viewport()->update();
}

void VINST_DOWNLOADER_TREEVIEW::show_row_state(const VINST_COMPONENT* component,
                                               const VINST_ROW_STATE& state)
{
    if (ITEM* const row = m_model->row_of(component))
        show_row_state(*row, state);
}

void VINST_DOWNLOADER_TREEVIEW::show_row_state(ITEM& row, const VINST_ROW_STATE& state)
{
    if (state.kind == VINST_ROW_STATE::KIND::none)
        m_row_states.remove(row.component());
    else
        m_row_states.insert(row.component(), state);
    QStandardItem& cell = *row.cell(progress_column);
    const QString text = row_state_text(state);
    if (cell.data(tree_state_text_role).toString() == text)
        return;
    {
        const QSignalBlocker blocker(m_model);
        cell.setData(static_cast<int>(state.kind), tree_state_role);
        cell.setData(text, tree_state_text_role);
    }
    name_progress(row);
    viewport()->update();
}

void VINST_DOWNLOADER_TREEVIEW::name_progress(ITEM& row)
{
    QStandardItem& cell = *row.cell(progress_column);
    QStringList parts{cell.data(tree_cell_role).toString(),
                      cell.data(tree_state_text_role).toString()};
    parts.removeAll(QString());
    const QSignalBlocker blocker(m_model);
    cell.setAccessibleText(parts.join(", "));
}

void VINST_DOWNLOADER_TREEVIEW::clear_row_states()
{
    const QList<const VINST_COMPONENT*> components = m_row_states.keys();
    for (const VINST_COMPONENT* component : components)
        show_row_state(component, {});
}

void VINST_DOWNLOADER_TREEVIEW::settle_row_states()
{
    const QHash<const VINST_COMPONENT*, VINST_ROW_STATE> states = m_row_states;
    for (auto state = states.begin(); state != states.end(); ++state)
        show_row_state(state.key(), row_state_after_job(state.value(), state.key()->last_failure));
}

void VINST_DOWNLOADER_TREEVIEW::hide_bars_of_deselected()
{
    for (ITEM* row : m_model->rows())
    {
        if (row->component()->is_selected())
            continue;
        show_progress_text(*row, {});
        show_row_state(*row, {});
    }
}

void VINST_DOWNLOADER_TREEVIEW::show_integrity(const VINST_COMPONENT* component,
                                               VINST_INTEGRITY_STATE state)
{
    ITEM* const row = m_model->row_of(component);
    if (row != nullptr && show_state(*row, state))
        refresh_run_flag(*row);
}

bool VINST_DOWNLOADER_TREEVIEW::show_state(ITEM& row, VINST_INTEGRITY_STATE state)
{
    if (state == VINST_INTEGRITY_STATE::checking)
        m_checking_rows.insert(&row);
    else
        m_checking_rows.remove(&row);
    if (m_checking_rows.isEmpty())
        m_animation_timer.stop();
    else if (!m_animation_timer.isActive() && m_animation_timer.interval() > 0)
        m_animation_timer.start();

    QStandardItem& cell = *row.cell(integrity_column);
    if (!m_model->store(cell, static_cast<int>(state)))
        return false;
    const QSignalBlocker blocker(m_model);
    cell.setToolTip(integrity_text(state));
    cell.setAccessibleText(integrity_text(state));
    viewport()->update();
    return true;
}

void VINST_DOWNLOADER_TREEVIEW::animate()
{
    for (const ITEM* row : m_checking_rows)
        viewport()->update(visualRect(row->index().siblingAtColumn(integrity_column)));
}

void VINST_DOWNLOADER_TREEVIEW::refresh_run_flags()
{
    for (ITEM* row : m_model->rows())
        refresh_run_flag(*row);
}

bool VINST_DOWNLOADER_TREEVIEW::refresh_run_flag(ITEM& row)
{
    VINST_COMPONENT& component = *row.component();
    const bool can_run =
        component.file.is_verified() && m_platform == host_platform() &&
        !build_install_command(component, main_product_name, false, m_platform).isEmpty();
    QStandardItem& cell = *row.cell(run_column);
    if (m_model->store(cell, can_run))
    {
        const QSignalBlocker blocker(m_model);
        cell.setAccessibleText(can_run ? run_button_text() : QString());
        viewport()->update();
    }
    return can_run;
}

void VINST_DOWNLOADER_TREEVIEW::toggle(const QModelIndex& index)
{
    ITEM* const row = m_model->row_at(index);
    if (m_is_busy || !isEnabled() || row == nullptr || !row->isEnabled())
        return;
    m_model->toggle(*row);
    if (!m_batch_timer.isActive())
        m_batch_timer.start();
}

void VINST_DOWNLOADER_TREEVIEW::run_installer(const QModelIndex& index)
{
    ITEM* const row = m_model->row_at(index);
    if (m_is_busy || row == nullptr || !is_run_offered(*row) || is_running(*row->component()))
        return;
    VINST_COMPONENT& component = *row->component();
    const std::string path = utf8(component.file.path());
    // The file may have changed since the button was shown.
    if (!refresh_run_flag(*row))
    {
        refuse_changed_file(*row);
        show_message_box(
            "The installer has changed since it was verified. Download it again: " + path, true);
        return;
    }
    const QString command =
        build_install_command(component, main_product_name, false, host_platform());
    run_log().info("install cmd for %s: %s", component.log_name(), utf8(command));
    // The installer may outlive this tree.
    if (run_command_detached(command,
                             [tree = QPointer(this), &component](int exit_code)
                             {
                                 if (tree != nullptr)
                                     tree->note_ended(component, exit_code);
                             }))
    {
        note_started(component);
        return;
    }
    run_log().error("The installer could not be started: %s", path);
    show_message_box("The installer could not be started: " + path, true);
}

void VINST_DOWNLOADER_TREEVIEW::note_started(VINST_COMPONENT& component)
{
    m_running.insert(&component);
    show_running(component);
    Q_EMIT run_reported(started_status(component));
}

void VINST_DOWNLOADER_TREEVIEW::note_ended(VINST_COMPONENT& component, int exit_code)
{
    m_running.remove(&component);
    show_running(component);
    const QString status = ended_status(component, exit_code);
    run_log().info("%s", utf8(status));
    Q_EMIT run_reported(status);
}

void VINST_DOWNLOADER_TREEVIEW::show_running(const VINST_COMPONENT& component)
{
    ITEM* const row = m_model->row_of(&component);
    if (row == nullptr)
        return;
    {
        const QSignalBlocker blocker(m_model);
        row->cell(run_column)->setData(is_running(component), tree_running_role);
    }
    refresh_run_flag(*row);
    viewport()->update();
}

bool VINST_DOWNLOADER_TREEVIEW::is_running(const VINST_COMPONENT& component) const
{
    return m_running.contains(&component);
}

void VINST_DOWNLOADER_TREEVIEW::refuse_changed_file(ITEM& row)
{
    VINST_COMPONENT& component = *row.component();
    component.file.forget_check();
    show_state_of_file(row);
}

bool VINST_DOWNLOADER_TREEVIEW::is_run_offered(const ITEM& row) const
{
    return m_is_run_column_shown && row.cell(run_column)->data(tree_cell_role).toBool();
}

void VINST_DOWNLOADER_TREEVIEW::take_clicks()
{
    if (!m_batch_timer.isActive())
        return;
    m_batch_timer.stop();
    Q_EMIT selection_changed();
}

void VINST_DOWNLOADER_TREEVIEW::keyPressEvent(QKeyEvent* event)
{
    const bool is_plain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    if (is_plain && event->key() == Qt::Key_Space)
        toggle(currentIndex());
    else if (is_plain && (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter))
        press_run_button(*event);
    else
        AFCQ_TREE_VIEW::keyPressEvent(event);
}

void VINST_DOWNLOADER_TREEVIEW::press_run_button(QKeyEvent& event)
{
    const ITEM* const row = m_model->row_at(currentIndex());
    if (row != nullptr && is_run_offered(*row))
        run_installer(currentIndex());
    else
        event.ignore(); // for the window's default button
}

void VINST_DOWNLOADER_TREEVIEW::mouseReleaseEvent(QMouseEvent* event)
{
    AFCQ_TREE_VIEW::mouseReleaseEvent(event);
    m_run_button_delegate->forget_press();
    viewport()->update();
}

void VINST_DOWNLOADER_TREEVIEW::showEvent(QShowEvent* event)
{
    AFCQ_TREE_VIEW::showEvent(event);
    // Only once, when fonts and styles are final; later the user sets the widths.
    if (!std::exchange(m_was_shown, true))
        QTimer::singleShot(layout_delay, this, &VINST_DOWNLOADER_TREEVIEW::resize_columns);
}
