#include "install/vinst/gui/vinst_feedback_prompt.h"

#include "install/vinst/base/vinst_text.h"
#include "install/vinst/release/vinst_data.h"
#include "support/cfgq/cfgq_registry_key.h"
#include "tests/gui/browser.h"
#include "tests/gui/modal_box.h"

#include <QDir>
#include <QFile>
#include <QPushButton>
#include <QTest>

namespace
{

class FeedbackPrompt : public ::testing::Test
{
protected:
    FeedbackPrompt()
    {
        QFile::remove(QDir::homePath() + "/.config/Orvane/vinst.conf");
        release.version = "5.2.0.31";
        release.edition = "pro";
    }

    void show(const QString& answer, bool check_box = false)
    {
        CFGQ_REGISTRY_KEY settings(program_title());
        MODAL_BOXES boxes({answer});
        if (check_box)
            boxes.check_boxes();
        show_feedback_prompt(release, settings, nullptr);
        shown = boxes.shown().at(0);
    }

    static bool is_refused() { return is_feedback_refused(CFGQ_REGISTRY_KEY(program_title())); }

    VINST_RELEASE release;
    BROWSER browser;
    SHOWN_BOX shown;
};

}

TEST_F(FeedbackPrompt, InvitesTheUser)
{
    show("No, thanks");
    EXPECT_EQ(shown.title, "Feedback");
    EXPECT_EQ(
        shown.text,
        "<h2>We'd welcome your feedback!</h2><p>Your feedback matters! We would greatly "
        "appreciate it if you could take a moment to participate in our survey.\nYour valuable "
        "insights will help us improve and provide you with an even better experience. Thank "
        "you for your time!<br/></p>");
    shown.buttons.sort();
    EXPECT_EQ(shown.buttons, QStringList({" Sure, I'll give feedback ", "No, thanks"}));
    EXPECT_EQ(browser.opened, QStringList());
    EXPECT_FALSE(is_refused());
}

TEST_F(FeedbackPrompt, OpensTheSurvey)
{
    show(" Sure, I'll give feedback ");
    EXPECT_EQ(browser.opened, QStringList(release.survey_url()));
    EXPECT_FALSE(is_refused());
}

TEST_F(FeedbackPrompt, IsNoConsentWhenItIsClosed)
{
    show("(close)");
    EXPECT_EQ(browser.opened, QStringList());
}

TEST_F(FeedbackPrompt, RemembersTheOptOutWhicheverButtonIsClicked)
{
    for (const char* answer : {" Sure, I'll give feedback ", "No, thanks", "(close)"})
    {
        CFGQ_REGISTRY_KEY(program_title()).set_value("vinst_never_ask_feedback", "");
        show(answer, true);
        EXPECT_TRUE(is_refused()) << answer;
    }
}

TEST_F(FeedbackPrompt, IsSuppressedOnlyByTheWordTrue)
{
    CFGQ_REGISTRY_KEY settings(program_title());
    EXPECT_FALSE(is_refused());
    for (const char* text : {"false", "True", "1", "yes", ""})
    {
        settings.set_value("vinst_never_ask_feedback", text);
        EXPECT_FALSE(is_refused()) << text;
    }
    settings.set_value("vinst_never_ask_feedback", true);
    EXPECT_TRUE(is_refused());
    settings.set_value("vinst_never_ask_feedback", "true");
    EXPECT_TRUE(is_refused());
}

TEST_F(FeedbackPrompt, OpensTheSurveyByReturn)
{
    QTimer user;
    QObject::connect(&user, &QTimer::timeout, &user,
                     [&]
                     {
                         if (QWidget* const box = QApplication::activeModalWidget())
                             QTest::keyClick(box, Qt::Key_Return);
                     });
    user.start(10);
    CFGQ_REGISTRY_KEY settings(program_title());
    show_feedback_prompt(release, settings, nullptr);
    EXPECT_EQ(browser.opened, QStringList(release.survey_url()));
}
