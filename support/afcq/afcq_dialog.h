#pragma once

#include <QByteArray>
#include <QDialog>
#include <QRect>

#include <vector>

/// The rectangle moved, and shrunk where it must be, so that it lies on the screen it shares most
/// with, or on the first one.
/// \param screens  the areas of the screens that windows may use, the first one foremost
QRect afcq_moved_onto_screen(const QRect& window, const std::vector<QRect>& screens);

/// A dialog with the suite's frame: a size grip, minimise and maximise buttons, and no context-help
/// button. Whenever it appears, all of it is on a screen, its frame included.
class AFCQ_DIALOG : public QDialog
{
    Q_OBJECT

public:
    explicit AFCQ_DIALOG(QWidget* parent = nullptr);

    /// Puts the window where it was when `saveGeometry` yielded these bytes, but never off the
    /// screens. Does nothing for bytes of any other origin.
    void restore_geometry(const QByteArray& saved);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void fit_onto_screens();
};
