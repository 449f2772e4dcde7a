#pragma once

#include <QString>
#include <QWidget>

class QLineEdit;
class QToolButton;

/// A line edit for a path, with a browse button next to it. The owner decides what the button
/// opens.
class AFCQ_LINE_EDIT_BROWSE_BUTTON final : public QWidget
{
    Q_OBJECT

public:
    explicit AFCQ_LINE_EDIT_BROWSE_BUTTON(QWidget* parent = nullptr);

    QString text() const;
    void set_text(const QString& text);

Q_SIGNALS:
    void browse_clicked_signal();
    /// Emitted for changes by the user and by `set_text`.
    void text_changed(const QString& text);

protected:
    bool event(QEvent* event) override;

private:
    void name_parts();

    QLineEdit* m_line_edit;       ///< owned by this widget
    QToolButton* m_browse_button; ///< owned by this widget
};
