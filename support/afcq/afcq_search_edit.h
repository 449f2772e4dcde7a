#pragma once

#include <QLineEdit>

/// A field for a text to search for. Escape empties it, and is only then for the window. Enter is
/// never for the window, whose default button would be pressed.
class AFCQ_SEARCH_EDIT final : public QLineEdit
{
    Q_OBJECT

public:
    explicit AFCQ_SEARCH_EDIT(QWidget* parent = nullptr);

Q_SIGNALS:
    void next_requested();     ///< Enter or Down
    void previous_requested(); ///< Shift+Enter or Up

protected:
    void keyPressEvent(QKeyEvent* event) override;
};
