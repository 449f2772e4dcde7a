#pragma once

#include <QLabel>

/// Shows the description of a component. Its text stays plain and can be selected. Lines break
/// anywhere if need be, so that it is never wider than its place, and the checksums at the end are
/// shown in a smaller monospaced font.
class VINST_DESCRIPTION_LABEL final : public QLabel
{
    Q_OBJECT

public:
    using QLabel::QLabel;

    /// Shows a description as plain text, with its checksums.
    void show_description(const QString& text);

    QSize minimumSizeHint() const override;
    int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    /// Whether lines break anywhere in the layout that QLabel has made.
    bool breaks_lines_anywhere() const;
    void break_lines_anywhere() const;
};
