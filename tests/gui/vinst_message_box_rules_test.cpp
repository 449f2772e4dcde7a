#include "install/vinst/gui/vinst_message_box_rules.h"

#include "tests/gui/looks.h"

#include <gtest/gtest.h>

#include <QLabel>
#include <QStringList>

namespace
{

constexpr QChar zero_width_space(0x200B);

QString lines(int count)
{
    QStringList all;
    for (int i = 0; i < count; ++i)
        all.append(" - component " + QString::number(i));
    return all.join('\n');
}

}

TEST(MessageBoxRules, KeepAShortMessageTogether)
{
    for (const QString& text : {QString("one"), "Nothing.\n\nReason:\n" + lines(8)})
    {
        EXPECT_EQ(divided_message(text).sentence, text);
        EXPECT_EQ(divided_message(text).details, "");
    }
}

TEST(MessageBoxRules, DivideALongMessageAtItsFirstEmptyLine)
{
    const VINST_MESSAGE_PARTS parts = divided_message("All\nfailed.\n\nFailed:\n" + lines(80));
    EXPECT_EQ(parts.sentence, "All\nfailed.");
    EXPECT_EQ(parts.details, "Failed:\n" + lines(80));
}

TEST(MessageBoxRules, KeepTheIndentationOfTheDetails)
{
    EXPECT_EQ(divided_message("All failed.\n\n\n" + lines(80) + "\n").details, lines(80));
    EXPECT_EQ(divided_message("Failed:\n" + lines(80)).details, lines(80));
}

TEST(MessageBoxRules, DivideALongMessageAfterItsFirstLineOtherwise)
{
    EXPECT_EQ(divided_message("Failed:\n" + lines(80)).sentence, "Failed:");
    const VINST_MESSAGE_PARTS parts = divided_message("Failed:\n" + lines(40) + "\n\nThe end");
    EXPECT_EQ(parts.sentence, "Failed:");
    EXPECT_TRUE(parts.details.endsWith("The end"));
}

TEST(MessageBoxRules, ShortenASingleLongLine)
{
    for (const QString& text : {QString("word ").repeated(300), QString(5000, 'x')})
    {
        const VINST_MESSAGE_PARTS parts = divided_message(text);
        EXPECT_LE(parts.sentence.size(), 201);
        EXPECT_TRUE(parts.sentence.endsWith(QChar(0x2026)));
        EXPECT_EQ(parts.details, text);
    }
}

TEST(MessageBoxRules, OfferBreaksInLongWordsOnly)
{
    EXPECT_EQ(with_breaks("a path /usr/share"), "a path /usr/share");
    const QString path = "/" + QString("directory/").repeated(9) + "file";
    QString broken = with_breaks("in " + path + " now");
    EXPECT_TRUE(broken.contains(QString("directory/") + zero_width_space));
    EXPECT_EQ(broken.remove(zero_width_space), "in " + path + " now");
    for (const QString& piece : with_breaks(QString(500, 'x')).split(zero_width_space))
        EXPECT_LE(piece.size(), 30);
}

TEST(MessageBoxRules, LeaveHeadlinesAloneOnALightWindow)
{
    const QString headline = "<h2><font color=green>Done</font></h2>";
    EXPECT_EQ(with_readable_headlines(headline, light_palette()), headline);
}

TEST(MessageBoxRules, KeepHeadlinesReadableOnADarkWindow)
{
    for (const char* color : {"green", "red"})
    {
        QLabel label(with_readable_headlines(
            QStringLiteral("<h2><font color=%1>_____ H _____</font></h2>").arg(color),
            dark_palette()));
        label.setPalette(dark_palette());
        const QImage picture = picture_of(label);
        const QImage line = picture.copy(0, picture.height() / 2 - 2, picture.width(), 4);
        EXPECT_TRUE(has_color(line, color)) << color;
        EXPECT_GE(contrast(color, most_frequent_color(line)), 3) << color;
    }
}
