#include "tests/gui/cut_controls.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

namespace
{

/// A window in which nothing is cut, at first.
class CutControls : public ::testing::Test
{
protected:
    CutControls()
    {
        button.setObjectName("button");
        label.setObjectName("label");
        layout.addWidget(&label);
        layout.addWidget(&button);
        window.setLayout(&layout);
        window.show();
        QApplication::processEvents();
    }

    std::string found() const
    {
        QApplication::processEvents();
        return cut_controls(window).join(", ").toStdString();
    }

    QDialog window; // destroyed last, because it would delete what it contains
    QLabel label{"A label with a text"};
    QPushButton button{"A button with a text"};
    QVBoxLayout layout;
};

}

TEST_F(CutControls, AreNoneInALayout)
{
    EXPECT_EQ(found(), "");
}

TEST_F(CutControls, IncludeAButtonThatIsNarrowerThanItsText)
{
    button.setFixedWidth(30);
    EXPECT_EQ(found(), "button is smaller than its text");
}

TEST_F(CutControls, IncludeALabelThatIsLowerThanItsLines)
{
    label.setText("A text that is as long as several lines of the label, because it wraps");
    label.setWordWrap(true);
    window.resize(120, window.height());
    label.setFixedHeight(10);
    EXPECT_NE(found().find("label is smaller than its text"), std::string::npos);
}

TEST_F(CutControls, IncludeWhatIsOutsideOfTheWindow)
{
    layout.removeWidget(&button);
    button.setGeometry(window.width() - 10, 0, 200, 40);
    EXPECT_NE(found().find("button is outside of QDialog"), std::string::npos);
}

TEST_F(CutControls, IncludeWhatOverlaps)
{
    layout.removeWidget(&button);
    window.resize(600, 400);
    button.move(label.pos());
    EXPECT_NE(found().find("button overlaps label"), std::string::npos);
}

TEST_F(CutControls, LeaveOutWhatIsHiddenOrScrolledAway)
{
    auto* const area = new QScrollArea;
    auto* const content = new QWidget;
    auto* const lines = new QVBoxLayout(content);
    for (int i = 0; i < 50; ++i)
        lines->addWidget(new QCheckBox("A box"));
    area->setWidget(content);
    area->setWidgetResizable(true);
    layout.addWidget(area);
    window.resize(300, 200);
    EXPECT_EQ(found(), "");
    button.setFixedWidth(30);
    button.hide();
    EXPECT_EQ(found(), "");
}

TEST_F(CutControls, IncludeScrolledContentThatIsTooWide)
{
    auto* const area = new QScrollArea;
    auto* const content = new QLabel(QString(200, 'x'));
    content->setObjectName("content");
    area->setWidget(content);
    layout.addWidget(area);
    window.resize(300, 200);
    EXPECT_EQ(found().rfind("content is outside of", 0), 0U) << found();
}
