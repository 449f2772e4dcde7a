#include "install/vinst/gui/vinst_feedback_prompt.h"

#include "install/vinst/base/vinst_utils.h"
#include "install/vinst/gui/vinst_modal_dialogs.h"
#include "install/vinst/release/vinst_data.h"
#include "support/afcq/afcq_images.h"
#include "support/cfgq/cfgq_registry_key.h"

#include <QCheckBox>
#include <QMessageBox>
#include <QPushButton>
#include <QUrl>

namespace
{

const QString never_ask_key = QStringLiteral("vinst_never_ask_feedback");

const QString invitation = QStringLiteral(
    "<h2>We'd welcome your feedback!</h2><p>Your feedback matters! We would greatly appreciate it "
    "if you could take a moment to participate in our survey.\nYour valuable insights will help us "
    "improve and provide you with an even better experience. Thank you for your time!<br/></p>");

/// Highlights a button as the suggested choice.
void suggest(QPushButton& button)
{
    QPalette palette = button.palette();
    palette.setColor(QPalette::Button, QColor("#0068B5"));
    palette.setColor(QPalette::ButtonText, Qt::white);
    button.setPalette(palette);
}

}

bool is_feedback_refused(const CFGQ_REGISTRY_KEY& settings)
{
    return settings.get_value(never_ask_key).toString() == "true";
}

void show_feedback_prompt(const VINST_RELEASE& release, CFGQ_REGISTRY_KEY& settings,
                          QWidget* parent)
{
    QMessageBox box(parent);
    box.setWindowTitle(QStringLiteral("Feedback"));
    box.setWindowIcon(afcq_get_icon(afcq_window_icon));
    box.setTextFormat(Qt::RichText);
    box.setText(invitation);
    QPushButton* const sure =
        box.addButton(QStringLiteral(" Sure, I'll give feedback "), QMessageBox::YesRole);
    QPushButton* const no_thanks = box.addButton(QStringLiteral("No, thanks"), QMessageBox::NoRole);
    suggest(*sure);
    box.setDefaultButton(sure);
    box.setEscapeButton(no_thanks);
    auto* const never_again = new QCheckBox(QStringLiteral("Don't show this again"), &box);
    box.setCheckBox(never_again);
    exec_modal(box);

    if (box.clickedButton() == sure)
        open_url(QUrl(release.survey_url()));
    if (never_again->isChecked())
        settings.set_value(never_ask_key, true);
}
