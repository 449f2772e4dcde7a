#pragma once

#include <QSyntaxHighlighter>

/// Marks the lines of a log that report errors, and every hit of a search.
class VINST_LOG_HIGHLIGHTER final : public QSyntaxHighlighter
{
    Q_OBJECT

public:
    explicit VINST_LOG_HIGHLIGHTER(QTextDocument* log);

    void set_search_text(const QString& text);
    /// Sets the colours for a light or a dark background.
    void follow_palette(const QPalette& palette);

protected:
    void highlightBlock(const QString& line) override;

private:
    QTextCharFormat m_error;
    QTextCharFormat m_hit;
    QString m_search_text;
};

/// Whether a line of the log reports an error.
bool is_error_line(const QString& line);
