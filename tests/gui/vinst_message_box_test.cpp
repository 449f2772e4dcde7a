#include "install/vinst/gui/vinst_message_box.h"

#include "install/vinst/base/vinst_text.h"
#include "tests/gui/modal_box.h"

#include <gtest/gtest.h>

#include <QClipboard>
#include <QDialogButtonBox>
#include <QPlainTextEdit>
#include <QTest>

#include <functional>

namespace
{

SHOWN_BOX seen_while(const std::function<void()>& show)
{
    MODAL_BOXES boxes({"OK"});
    show();
    return boxes.shown().at(0);
}

SHOWN_BOX show_and_close(const std::string& text, bool is_error)
{
    return seen_while([&] { show_message_box(text, is_error); });
}

}

TEST(MessageBox, ShowsAnErrorWithTheProgramsTitle)
{
    const SHOWN_BOX box = show_and_close("first\nsecond", true);
    EXPECT_EQ(box.title, QString::fromUtf8("Orvane\u00ae Veltrin\u00ae Crest Installer"));
    EXPECT_EQ(box.text, "first<br/>second");
    EXPECT_EQ(box.format, Qt::RichText);
    EXPECT_EQ(box.icon, QMessageBox::Critical);
    EXPECT_EQ(box.buttons, QStringList("OK"));
    EXPECT_TRUE(box.modal);
}

TEST(MessageBox, ShowsInformationWithItsIcon)
{
    EXPECT_EQ(show_and_close("fine", false).icon, QMessageBox::Information);
}

TEST(MessageBox, DoesNotRenderMarkupInText)
{
    EXPECT_EQ(show_and_close("a <b>bold</b> & \"x\"", false).text,
              "a &lt;b&gt;bold&lt;/b&gt; &amp; &quot;x&quot;");
}

TEST(MessageBox, RendersTheProgramsOwnMarkup)
{
    const SHOWN_BOX box = seen_while([] { show_markup_box("<h2>Done</h2>one\ntwo", false); });
    EXPECT_EQ(box.text, "<h2>Done</h2>one<br/>two");
    EXPECT_EQ(box.format, Qt::RichText);
}

TEST(MessageBox, ShowsALongListInAPaneThatCanBeCopied)
{
    QStringList names;
    for (int i = 0; i < 80; ++i)
        names.append(" - The component with the number " + QString::number(i));
    const QString details = "Failed component(s):\n" + names.join('\n');
    QSize size;
    QString shown_details;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &look,
                     [&]
                     {
                         QWidget* const box = QApplication::activeModalWidget();
                         if (box == nullptr)
                             return;
                         look.stop();
                         size = box->size();
                         const QWidget& text = *box->findChild<QWidget*>("m_details_text");
                         const QWidget& buttons = *box->findChild<QDialogButtonBox*>();
                         EXPECT_LT(text.mapTo(box, text.rect().bottomLeft()).y(), buttons.y());
                         shown_details =
                             box->findChild<QPlainTextEdit*>("m_details_text")->toPlainText();
                         QTest::mouseClick(box->findChild<QPushButton*>("m_copy_details_button"),
                                           Qt::LeftButton);
                         EXPECT_TRUE(box->isVisible());
                         QTest::keyClick(box, Qt::Key_Return);
                     });
    look.start(0);
    QApplication::clipboard()->clear();
    show_message_box(utf8("Cannot download 80 component(s).\n\n" + details), true);
    EXPECT_EQ(shown_details, details);
    EXPECT_EQ(QApplication::clipboard()->text(), details);
    EXPECT_LE(size.height(), 420);
    EXPECT_LE(size.width(), 840);
}

TEST(MessageBox, ShowsDetailsOfMarkupAsPlainText)
{
    QString details;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &look,
                     [&]
                     {
                         auto* const box =
                             qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
                         if (box == nullptr)
                             return;
                         look.stop();
                         EXPECT_EQ(box->text(), "<h2>Incomplete</h2>Look.");
                         details = box->findChild<QPlainTextEdit*>("m_details_text")->toPlainText();
                         box->accept();
                     });
    look.start(0);
    show_markup_box("<h2>Incomplete</h2>Look.\n\n" + QString("R&amp;D &lt;b&gt;\n").repeated(20),
                    true);
    EXPECT_EQ(details, QString("R&D <b>\n").repeated(20).trimmed());
}

TEST(MessageBox, StaysOnTheScreenWithLongWords)
{
    QSize size;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &look,
                     [&]
                     {
                         QWidget* const box = QApplication::activeModalWidget();
                         if (box == nullptr)
                             return;
                         look.stop();
                         size = box->size();
                         QTest::keyClick(box, Qt::Key_Escape);
                     });
    look.start(0);
    EXPECT_FALSE(ask_in_box(nullptr, "Use it?", "In /" + QString("directory/").repeated(60), true));
    EXPECT_LE(size.height(), 420);
    EXPECT_LE(size.width(), 840);
}
