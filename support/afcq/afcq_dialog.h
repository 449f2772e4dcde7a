#pragma once

#include <QByteArray>
#include <QDialog>
#include <QRect>

#include <vector>

/// The rectangle, moved and if necessary shrunk to fit on the screen that it overlaps most, or on
/// the first one.
/// \param screens  the available areas of the screens, the primary screen first
QRect afcq_moved_onto_screen(const QRect& window, const std::vector<QRect>& screens);

/// Moves and shrinks a window that is not completely on a screen, including its frame.
void afcq_fit_onto_screens(QWidget& window);

/// A dialog with a size grip, minimise and maximise buttons, and no context-help button. Whenever
/// it is shown, it is completely on a screen, including its frame.
class AFCQ_DIALOG : public QDialog
{
    Q_OBJECT

public:
    explicit AFCQ_DIALOG(QWidget* parent = nullptr);

    /// Restores the position saved by `saveGeometry`, but never off the screens. Ignores any other
    /// bytes.
    void restore_geometry(const QByteArray& saved);

protected:
    void showEvent(QShowEvent* event) override;
};
