#include "install/vinst/gui/vinst_log_viewer_dlg.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_text.h"
#include "install/vinst/gui/vinst_fixed_font.h"
#include "install/vinst/gui/vinst_log_highlighter.h"
#include "support/afcq/afcq_images.h"
#include "ui_vinst_log_viewer_dlg.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QClipboard>
#include <QEvent>
#include <QFile>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QShortcut>
#include <QTextBlock>

namespace
{

constexpr std::chrono::milliseconds selection_interval{3'600'000};

QString log_path()
{
    return QString::fromStdString(VINST_MESSAGES::instance().log_path);
}

}

VINST_LOG_VIEWER_DLG::VINST_LOG_VIEWER_DLG(QWidget* parent,
                                           std::chrono::milliseconds refresh_interval)
    : AFCQ_DIALOG(parent), m_ui(new Ui::VINST_LOG_VIEWER_DLG)
{
    m_ui->setupUi(this);
    setWindowTitle(program_title() + " - Log Viewer");
    setWindowIcon(afcq_get_icon(afcq_window_icon));
    connect(m_ui->m_close_btn, &QAbstractButton::clicked, this, &QDialog::reject);
    m_refresh_timer.setInterval(refresh_interval);
    connect(&m_refresh_timer, &QTimer::timeout, this, &VINST_LOG_VIEWER_DLG::refresh);
    connect(m_ui->m_log_text_browser, &QTextEdit::copyAvailable, this,
            [this, refresh_interval](bool is_selected)
            { m_refresh_timer.setInterval(is_selected ? selection_interval : refresh_interval); });

    QTextBrowser& browser = *m_ui->m_log_text_browser;
    QFont font = browser.font();
    font.setFamily(fixed_width_family());
    font.setStyleHint(QFont::Monospace);
    browser.setFont(font);
    m_highlighter = new VINST_LOG_HIGHLIGHTER(browser.document());
    m_highlighter->follow_palette(palette());
    const QScrollBar* const scroll_bar = browser.verticalScrollBar();
    connect(scroll_bar, &QScrollBar::valueChanged, this,
            [this, scroll_bar](int value)
            {
                if (!m_is_filling)
                    m_follows_end = value == scroll_bar->maximum();
            });
    connect(m_ui->m_copy_all_btn, &QAbstractButton::clicked, this, &VINST_LOG_VIEWER_DLG::copy_all);
    set_up_search();
}

void VINST_LOG_VIEWER_DLG::set_up_search()
{
    AFCQ_SEARCH_EDIT& edit = *m_ui->m_search_edit;
    const auto forwards = [this] { find(false); };
    const auto backwards = [this] { find(true); };
    connect(&edit, &QLineEdit::textChanged, this, &VINST_LOG_VIEWER_DLG::search);
    connect(&edit, &AFCQ_SEARCH_EDIT::next_requested, this, forwards);
    connect(&edit, &AFCQ_SEARCH_EDIT::previous_requested, this, backwards);
    connect(m_ui->m_find_next_btn, &QAbstractButton::clicked, this, forwards);
    connect(m_ui->m_find_previous_btn, &QAbstractButton::clicked, this, backwards);
    const auto* const shortcut = new QShortcut(QKeySequence::Find, this);
    connect(shortcut, &QShortcut::activated, &edit,
            [&edit]
            {
                edit.setFocus(Qt::ShortcutFocusReason);
                edit.selectAll();
            });
    search({});
}

VINST_LOG_VIEWER_DLG::~VINST_LOG_VIEWER_DLG() = default;

void VINST_LOG_VIEWER_DLG::showEvent(QShowEvent* event)
{
    AFCQ_DIALOG::showEvent(event);
    m_ui->m_log_file_lineedit->setText(log_path());
    if (!m_ui->m_log_text_browser->textCursor().hasSelection())
        refresh();
    m_refresh_timer.start();
}

void VINST_LOG_VIEWER_DLG::hideEvent(QHideEvent* event)
{
    m_refresh_timer.stop();
    AFCQ_DIALOG::hideEvent(event);
}

void VINST_LOG_VIEWER_DLG::refresh()
{
    QFile file(log_path());
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
    {
        m_shown_size = -1;
        show_text(QStringLiteral("Failed to open the log file."));
        return;
    }
    // The log only grows, so an equal size means no change. Setting a long text is slow.
    if (file.size() == m_shown_size)
        return;
    const QByteArray content = file.readAll();
    m_shown_size = file.size();
    show_text(QString::fromUtf8(content));
}

void VINST_LOG_VIEWER_DLG::changeEvent(QEvent* event)
{
    AFCQ_DIALOG::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && m_highlighter != nullptr)
        m_highlighter->follow_palette(palette());
}

void VINST_LOG_VIEWER_DLG::show_text(const QString& text)
{
    QTextBrowser& browser = *m_ui->m_log_text_browser;
    QScrollBar& scroll_bar = *browser.verticalScrollBar();
    QScrollBar& sideways = *browser.horizontalScrollBar();
    const QScopedValueRollback<bool> filling(m_is_filling, true);
    m_scroll_position = scroll_bar.value();
    const int column = sideways.value();
    browser.setPlainText(text);
    browser.document()->documentLayout()->documentSize(); // lays it out to its end
    scroll_bar.setValue(m_follows_end ? scroll_bar.maximum() : m_scroll_position);
    sideways.setValue(column);
    mark_hit();
}

void VINST_LOG_VIEWER_DLG::search(const QString& text)
{
    m_highlighter->set_search_text(text);
    m_hit = -1;
    const bool can_search = !text.isEmpty();
    m_ui->m_find_next_btn->setEnabled(can_search);
    m_ui->m_find_previous_btn->setEnabled(can_search);
    if (can_search)
        find(false);
    mark_hit();
}

void VINST_LOG_VIEWER_DLG::find(bool is_backwards)
{
    const QString wanted = m_ui->m_search_edit->text();
    if (wanted.isEmpty())
        return;
    const QString text = m_ui->m_log_text_browser->toPlainText();
    const auto found = [&](int from)
    {
        return is_backwards ? text.lastIndexOf(wanted, from, Qt::CaseInsensitive)
                            : text.indexOf(wanted, from, Qt::CaseInsensitive);
    };
    const int from_end = is_backwards ? -1 : 0;
    const bool is_at_end = m_hit < 0 || (is_backwards && m_hit == 0);
    int hit = is_at_end ? -1 : found(is_backwards ? m_hit - 1 : m_hit + 1);
    if (hit < 0)
        hit = found(from_end);
    m_hit = hit;
    mark_hit();
    if (m_hit < 0)
        return;
    // Without a selection, which would keep the log from being read again.
    QTextCursor cursor = m_ui->m_log_text_browser->textCursor();
    cursor.setPosition(m_hit);
    m_ui->m_log_text_browser->setTextCursor(cursor);
}

void VINST_LOG_VIEWER_DLG::mark_hit()
{
    QTextBrowser& browser = *m_ui->m_log_text_browser;
    const QString wanted = m_ui->m_search_edit->text();
    const QString text = browser.toPlainText();
    const int end = m_hit + wanted.size();
    if (wanted.isEmpty() || m_hit < 0 || end > text.size())
    {
        browser.setExtraSelections({});
        m_ui->m_search_result_label->setText(wanted.isEmpty() ? "" : "Not found");
        return;
    }
    QTextEdit::ExtraSelection hit;
    hit.cursor = QTextCursor(browser.document());
    hit.cursor.setPosition(m_hit);
    hit.cursor.setPosition(end, QTextCursor::KeepAnchor);
    hit.format.setBackground(palette().highlight());
    hit.format.setForeground(palette().highlightedText());
    browser.setExtraSelections({hit});
    const int number = text.leftRef(end).count(wanted, Qt::CaseInsensitive);
    const int count = text.count(wanted, Qt::CaseInsensitive);
    m_ui->m_search_result_label->setText(QStringLiteral("%1 of %2").arg(number).arg(count));
}

void VINST_LOG_VIEWER_DLG::copy_all() const
{
    QApplication::clipboard()->setText(m_ui->m_log_text_browser->toPlainText());
}
