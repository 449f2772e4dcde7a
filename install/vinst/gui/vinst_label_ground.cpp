#include "install/vinst/gui/vinst_label_ground.h"

#include "support/afcq/afcq_colors.h"

#include <QLabel>
#include <QPalette>

void set_readable_ground(QLabel& label, const QColor& text)
{
    // Not the label's own palette, which the ground changes.
    const QPalette palette = label.window()->palette();
    QString style;
    if (text.isValid() && afcq_is_dark(palette))
        style = QStringLiteral("QLabel#%1 { background-color: %2; border-radius: 3px; "
                               "padding: 2px 6px; }")
                    .arg(label.objectName(),
                         afcq_readable_ground(text, palette.color(QPalette::Window)).name());
    // A label's own style sheet only sets the colour of its text, so the ground is set by its
    // parent's.
    if (QWidget& parent = *label.parentWidget(); parent.styleSheet() != style)
        parent.setStyleSheet(style);
}
