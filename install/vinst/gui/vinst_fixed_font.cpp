#include "install/vinst/gui/vinst_fixed_font.h"

#include <QFontDatabase>
#include <QFontMetrics>

QString fixed_width_family()
{
    // Not every platform plug-in knows one.
    const QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    const QFontMetrics metrics(font);
    const bool is_fixed = metrics.horizontalAdvance('i') == metrics.horizontalAdvance('m');
    return is_fixed ? font.family() : QStringLiteral("monospace");
}
