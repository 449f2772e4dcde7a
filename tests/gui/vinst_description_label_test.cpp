#include "install/vinst/gui/vinst_description_label.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QFontMetrics>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <QTextCursor>
#include <QTextDocument>

namespace
{

const QString sha1 = "sha1sum:" + QString("0123456789abcdef0123456789abcdef01234567");
const QString md5 = "md5sum: " + QString("0123456789abcdef0123456789abcdef");

class DescriptionLabel : public ::testing::Test
{
protected:
    DescriptionLabel()
    {
        label = new VINST_DESCRIPTION_LABEL;
        label->setWordWrap(true);
        label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        area.setWidgetResizable(true);
        area.setWidget(label);
        area.resize(160, 400);
        area.show();
    }

    void show(const QString& text)
    {
        label->show_description(text);
        QApplication::processEvents();
        label->grab(); // lays out the text
    }

    QScrollArea area;
    VINST_DESCRIPTION_LABEL* label;
};

}

TEST_F(DescriptionLabel, IsNeverWiderThanItsPlace)
{
    for (const QString& text : {"A part.\n\n" + md5 + '\n' + sha1, QString(400, 'w')})
    {
        show(text);
        EXPECT_EQ(label->text(), text);
        EXPECT_FALSE(area.horizontalScrollBar()->isVisible());
        EXPECT_LE(label->width(), area.viewport()->width());
        const auto* const document = label->findChild<QTextDocument*>();
        ASSERT_NE(document, nullptr);
        EXPECT_LE(document->idealWidth(), label->width());
        EXPECT_LE(document->size().height(), label->height()) << "nothing is cut off";
    }
}

TEST_F(DescriptionLabel, ShowsChecksumsInASmallerMonospacedFont)
{
    show("A part.\n\n" + md5 + '\n' + sha1);
    QTextCursor cursor(label->findChild<QTextDocument*>());
    cursor.setPosition(3);
    const QFont text_font = cursor.charFormat().font();
    cursor.movePosition(QTextCursor::End);
    const QFont checksum_font = cursor.charFormat().font();
    EXPECT_LT(QFontMetrics(text_font).horizontalAdvance("iiii"),
              QFontMetrics(text_font).horizontalAdvance("mmmm"));
    EXPECT_EQ(QFontMetrics(checksum_font).horizontalAdvance("iiii"),
              QFontMetrics(checksum_font).horizontalAdvance("mmmm"));
    EXPECT_LT(cursor.charFormat().intProperty(QTextFormat::FontSizeAdjustment), 0);
    show("Without checksums");
    cursor = QTextCursor(label->findChild<QTextDocument*>());
    cursor.movePosition(QTextCursor::End);
    EXPECT_EQ(cursor.charFormat().intProperty(QTextFormat::FontSizeAdjustment), 0);
}

TEST_F(DescriptionLabel, IsPaintedOnlyWhenItChanges)
{
    struct PAINT_COUNTER final : QObject
    {
        bool eventFilter(QObject*, QEvent* event) override
        {
            count += event->type() == QEvent::Paint ? 1 : 0;
            return false;
        }
        int count = 0;
    } counter;
    label->installEventFilter(&counter);
    show(md5 + '\n' + sha1);
    for (int i = 0; i < 100; ++i)
        QApplication::processEvents();
    EXPECT_GT(counter.count, 0);
    EXPECT_LT(counter.count, 10);
}

TEST_F(DescriptionLabel, LetsTheUserSelectAChecksum)
{
    show(md5);
    QTest::mouseDClick(label, Qt::LeftButton, {}, QPoint(20, label->fontMetrics().height() / 2));
    EXPECT_EQ(label->selectedText(), "md5sum");
}

TEST_F(DescriptionLabel, DoesNotRenderMarkup)
{
    show("<h1>Not markup</h1>");
    EXPECT_EQ(label->findChild<QTextDocument*>()->toPlainText(), "<h1>Not markup</h1>");
}
