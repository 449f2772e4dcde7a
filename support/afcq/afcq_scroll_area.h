#pragma once

#include <QScrollArea>

/// Scrolls its content vertically when there is too little room, and to the control that gets the
/// focus. It prefers the content's full size, and is never narrower than the content.
class AFCQ_SCROLL_AREA final : public QScrollArea
{
    Q_OBJECT

public:
    explicit AFCQ_SCROLL_AREA(QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
};
