#include "install/vinst/gui/vinst_log_viewer_dlg.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_text.h"
#include "support/afcq/afcq_images.h"
#include "ui_vinst_log_viewer_dlg.h"

#include <QFile>
#include <QScrollBar>

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

void VINST_LOG_VIEWER_DLG::show_text(const QString& text)
{
    QScrollBar& scroll_bar = *m_ui->m_log_text_browser->verticalScrollBar();
    QScrollBar& sideways = *m_ui->m_log_text_browser->horizontalScrollBar();
    m_scroll_position = scroll_bar.value();
    const int column = sideways.value();
    m_ui->m_log_text_browser->setPlainText(text);
    scroll_bar.setValue(m_scroll_position);
    sideways.setValue(column);
}
