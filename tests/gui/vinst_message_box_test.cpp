#include "install/vinst/gui/vinst_message_box.h"

#include "tests/gui/modal_box.h"

#include <gtest/gtest.h>

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
