#include "install/vinst/gui/vinst_dialog_header.h"

#include "install/vinst/base/vinst_text.h"
#include "install/vinst/release/vinst_data.h"
#include "support/afcq/afcq_images.h"

#include <QLabel>

namespace
{

constexpr QSize logo_size(120, 40);
constexpr double title_scale = 1.5;

}

void fill_dialog_header(QLabel& title, QLabel& version, QLabel& logo, const VINST_RELEASE& release)
{
    QFont font = title.font();
    font.setPointSizeF(font.pointSizeF() * title_scale);
    font.setBold(true);
    title.setFont(font);
    title.setText(release.window_title());
    if (!release.version.isEmpty())
        version.setText("Version " + without_control_characters(release.version));
    version.setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    version.setContentsMargins(title.fontMetrics().averageCharWidth(), 0, 0, 0);
    logo.setPixmap(afcq_get_pixmap(afcq_logo, logo_size, logo.devicePixelRatioF()));
}
