#include "install/vinst/gui/vinst_description_label.h"

#include "install/vinst/gui/vinst_downloader_treeview_rules.h"
#include "install/vinst/gui/vinst_fixed_font.h"

#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

namespace
{

/// A label whose text can be selected lays it out in a document, which is below it in the tree of
/// objects. Without one, the label looks like any other.
QTextDocument* document_of(const QLabel& label)
{
    return label.findChild<QTextDocument*>();
}

QTextCharFormat checksum_format()
{
    QTextCharFormat format;
    format.setFontFamily(fixed_width_family());
    format.setFontStyleHint(QFont::Monospace);
    format.setProperty(QTextFormat::FontSizeAdjustment, -1); // one step smaller
    return format;
}

}

void VINST_DESCRIPTION_LABEL::show_description(const QString& text)
{
    setTextFormat(Qt::PlainText);
    setText(text);
    QLabel::heightForWidth(width()); // fills the document
    QTextDocument* const document = document_of(*this);
    const int begin = begin_of_checksums(text);
    if (document == nullptr || begin < 0)
        return;
    QTextCursor cursor(document);
    cursor.setPosition(begin);
    cursor.movePosition(QTextCursor::End, QTextCursor::KeepAnchor);
    cursor.mergeCharFormat(checksum_format());
    updateGeometry();
}

QSize VINST_DESCRIPTION_LABEL::minimumSizeHint() const
{
    return {fontMetrics().averageCharWidth() * 8, fontMetrics().lineSpacing()};
}

bool VINST_DESCRIPTION_LABEL::breaks_lines_anywhere() const
{
    const QTextDocument* const document = document_of(*this);
    return document == nullptr ||
           document->defaultTextOption().wrapMode() == QTextOption::WrapAtWordBoundaryOrAnywhere;
}

void VINST_DESCRIPTION_LABEL::break_lines_anywhere() const
{
    if (breaks_lines_anywhere())
        return;
    QTextDocument& document = *document_of(*this);
    QTextOption option = document.defaultTextOption();
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    document.setDefaultTextOption(option);
}

int VINST_DESCRIPTION_LABEL::heightForWidth(int width) const
{
    QLabel::heightForWidth(width); // makes the layout if it is not up to date
    break_lines_anywhere();
    return QLabel::heightForWidth(width);
}

void VINST_DESCRIPTION_LABEL::paintEvent(QPaintEvent* event)
{
    // Only then, because each change of the layout requests another paint event.
    if (!breaks_lines_anywhere())
        heightForWidth(width());
    QLabel::paintEvent(event);
    if (!breaks_lines_anywhere())
        update();
}
