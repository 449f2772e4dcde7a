#pragma once

#include <QString>
#include <QWidget>

class QLineEdit;
class QToolButton;

/// A line for a path with a button beside it that asks for one. What the button opens is its
/// user's business.
class AFCQ_LINE_EDIT_BROWSE_BUTTON final : public QWidget
{
    Q_OBJECT

public:
    explicit AFCQ_LINE_EDIT_BROWSE_BUTTON(QWidget* parent = nullptr);

    QString text() const;
    void set_text(const QString& text);

Q_SIGNALS:
    void browse_clicked_signal();
    /// By the user or by `set_text`.
    void text_changed(const QString& text);

protected:
    bool event(QEvent* event) override;

private:
    void name_parts();

    QLineEdit* m_line_edit;       ///< owned by this widget
    QToolButton* m_browse_button; ///< owned by this widget
};
