#include "install/vinst/gui/vinst_log_highlighter.h"

#include "support/afcq/afcq_colors.h"

#include <QPalette>
#include <QRegularExpression>

bool is_error_line(const QString& line)
{
    // The level of a line, or a word of another program's output.
    static const QRegularExpression error(
        QStringLiteral("\\[error\\]|\\b(error|errors|failed|failure|fatal)\\b"),
        QRegularExpression::CaseInsensitiveOption);
    return line.contains(error);
}

VINST_LOG_HIGHLIGHTER::VINST_LOG_HIGHLIGHTER(QTextDocument* log) : QSyntaxHighlighter(log)
{
    m_error.setFontWeight(QFont::Bold);
}

void VINST_LOG_HIGHLIGHTER::set_search_text(const QString& text)
{
    if (text == m_search_text)
        return;
    m_search_text = text;
    rehighlight();
}

void VINST_LOG_HIGHLIGHTER::follow_palette(const QPalette& palette)
{
    const bool is_dark = afcq_is_dark(palette);
    m_error.setForeground(is_dark ? QColor(0xff, 0x8a, 0x80) : QColor(0xb0, 0x00, 0x20));
    m_hit.setBackground(QColor(0xff, 0xd5, 0x4a));
    m_hit.setForeground(Qt::black);
    rehighlight();
}

void VINST_LOG_HIGHLIGHTER::highlightBlock(const QString& line)
{
    if (is_error_line(line))
        setFormat(0, line.size(), m_error);
    if (m_search_text.isEmpty())
        return;
    for (int at = line.indexOf(m_search_text, 0, Qt::CaseInsensitive); at >= 0;
         at = line.indexOf(m_search_text, at + m_search_text.size(), Qt::CaseInsensitive))
        setFormat(at, m_search_text.size(), m_hit);
}
