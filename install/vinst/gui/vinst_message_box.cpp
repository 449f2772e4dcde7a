#include "install/vinst/gui/vinst_message_box.h"

#include "install/vinst/base/vinst_text.h"
#include "install/vinst/gui/vinst_message_box_rules.h"
#include "install/vinst/gui/vinst_modal_dialogs.h"
#include "support/afcq/afcq_images.h"

#include <QApplication>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QString>
#include <QTextDocumentFragment>
#include <QVBoxLayout>

namespace
{

constexpr int pane_lines = 9;
constexpr int longest_narrow_question = 300; // characters
constexpr int pane_columns = 56;

QString as_rich_text(QString markup)
{
    return markup.replace('\n', "<br/>");
}

/// A pane that scrolls, with a button that copies its text. Not one of the box's own buttons,
/// because those close the box.
QWidget* make_detail_pane(const QString& text)
{
    auto* const pane = new QWidget;
    auto* const layout = new QVBoxLayout(pane);
    layout->setContentsMargins(0, 0, 0, 0);

    auto* const edit = new QPlainTextEdit(text);
    edit->setObjectName("m_details_text");
    edit->setAccessibleName("Details");
    edit->setReadOnly(true);
    edit->setTabChangesFocus(true);
    edit->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    edit->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    const QFontMetrics metrics = edit->fontMetrics();
    edit->setFixedHeight(metrics.lineSpacing() * pane_lines);
    edit->setMinimumWidth(metrics.averageCharWidth() * pane_columns);
    layout->addWidget(edit);

    auto* const copy = new QPushButton(QStringLiteral("Copy"));
    copy->setObjectName("m_copy_details_button");
    copy->setAutoDefault(false);
    QObject::connect(copy, &QPushButton::clicked, copy,
                     [text] { QApplication::clipboard()->setText(text); });
    layout->addWidget(copy, 0, Qt::AlignLeft);
    return pane;
}

/// On a small screen, QMessageBox makes a long text narrow, and then higher than the screen.
void widen(QMessageBox& box)
{
    auto* const grid = qobject_cast<QGridLayout*>(box.layout());
    const int width = box.fontMetrics().averageCharWidth() * pane_columns;
    grid->addItem(new QSpacerItem(width, 0), grid->rowCount(), 0, 1, grid->columnCount());
}

void add_above_buttons(QMessageBox& box, QWidget& pane)
{
    auto& grid = *qobject_cast<QGridLayout*>(box.layout());
    auto* const buttons = box.findChild<QDialogButtonBox*>();
    const int columns = grid.columnCount();
    grid.removeWidget(buttons);
    grid.addWidget(&pane, grid.rowCount(), 0, 1, columns);
    grid.addWidget(buttons, grid.rowCount(), 0, 1, columns);
}

/// \param offer  the text of a second button; empty for none. \return whether it was pressed
bool show_box(const QString& markup, const QString& details, bool is_error, const QString& offer)
{
    // Centred on the active window, if any.
    QMessageBox box(QApplication::activeWindow());
    box.setWindowIcon(afcq_get_icon(afcq_window_icon));
    box.setWindowTitle(program_title());
    box.setTextFormat(Qt::RichText);
    box.setText(as_rich_text(with_readable_headlines(with_breaks(markup), box.palette())));
    box.setIcon(is_error ? QMessageBox::Critical : QMessageBox::Information);
    box.setStandardButtons(QMessageBox::Ok);
    box.setDefaultButton(QMessageBox::Ok);
    box.setEscapeButton(QMessageBox::Ok);
    const QAbstractButton* const second =
        offer.isEmpty() ? nullptr : box.addButton(offer, QMessageBox::ActionRole);
    if (!details.isEmpty())
    {
        // The grid is replaced by later changes to the box, so this is the last one.
        add_above_buttons(box, *make_detail_pane(details));
    }
    exec_modal(box);
    return second != nullptr && box.clickedButton() == second;
}

}

void show_message_box(const std::string& text, bool is_error)
{
    const VINST_MESSAGE_PARTS parts = divided_message(QString::fromStdString(text));
    show_box(parts.sentence.toHtmlEscaped(), parts.details, is_error, {});
}

void show_markup_box(const QString& markup, bool is_error)
{
    static_cast<void>(offer_in_markup_box(markup, is_error, {}));
}

bool offer_in_markup_box(const QString& markup, bool is_error, const QString& offer)
{
    const VINST_MESSAGE_PARTS parts = divided_message(markup);
    const QString details =
        QTextDocumentFragment::fromHtml(as_rich_text(parts.details)).toPlainText();
    return show_box(parts.sentence, details, is_error, offer);
}

bool ask_in_box(QWidget* parent, const QString& title, const QString& text, bool is_warning)
{
    QMessageBox box(parent);
    prepare_question(box, title, text, is_warning);
    return exec_modal(box) == QMessageBox::Yes;
}

void prepare_question(QMessageBox& box, const QString& title, const QString& text, bool is_warning)
{
    box.setWindowIcon(afcq_get_icon(afcq_window_icon));
    box.setWindowTitle(title);
    box.setTextFormat(Qt::PlainText);
    box.setText(with_breaks(text));
    box.setIcon(is_warning ? QMessageBox::Warning : QMessageBox::Question);
    box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
    box.setDefaultButton(QMessageBox::No);
    if (text.size() > longest_narrow_question)
        widen(box);
}
