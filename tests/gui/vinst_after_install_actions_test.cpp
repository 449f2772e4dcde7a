#include "install/vinst/gui/vinst_after_install_actions.h"

#include "support/cfgq/cfgq_registry_key.h"

#include <gtest/gtest.h>

#include <QImage>

namespace
{

using ACTION_BOX = VINST_DOWNLOADER_AFTER_INSTALL_ACTION_CHECKBOX;

class AfterInstallActions : public ::testing::Test
{
protected:
    AfterInstallActions()
    {
        main_product = add("veltrin_base", VINST_COMPONENT_KIND::download);
        tools = add("tools", VINST_COMPONENT_KIND::download);
        shortcuts = add("shortcuts", VINST_COMPONENT_KIND::install);
        notify = add("notify", VINST_COMPONENT_KIND::install);
        notify->set_parent(*tools);
        main_product->selection = VINST_SELECTION::selected;
        tools->selection = VINST_SELECTION::selected;
        actions.rebuild(release, "linux");
    }

    VINST_COMPONENT* add(const QString& name, VINST_COMPONENT_KIND kind)
    {
        VINST_COMPONENT* component = release.add_component();
        component->name = name;
        component->title = "The " + name + " & co";
        component->kind = kind;
        component->platform = "linux";
        release.index_component(component);
        return component;
    }

    QCheckBox* all() const { return actions.findChild<QCheckBox*>("m_all_actions_checkbox"); }
    QCheckBox* box(const QString& name) const
    {
        return actions.findChild<QCheckBox*>("m_action_checkbox_" + name);
    }

    VINST_RELEASE release;
    VINST_COMPONENT* main_product;
    VINST_COMPONENT* tools;
    VINST_COMPONENT* shortcuts;
    VINST_COMPONENT* notify;
    VINST_AFTER_INSTALL_ACTIONS actions;
};

}

TEST_F(AfterInstallActions, ShowOneCheckBoxPerAction)
{
    EXPECT_EQ(actions.findChildren<ACTION_BOX*>().size(), 2);
    EXPECT_EQ(box("notify")->text(), "The notify && co");
    EXPECT_TRUE(actions.has_actions());
}

TEST_F(AfterInstallActions, AreHiddenWhenThereAreNone)
{
    actions.rebuild(release, "windows");
    EXPECT_FALSE(actions.has_actions());
    EXPECT_TRUE(actions.isHidden());
    EXPECT_EQ(box("notify"), nullptr);
}

TEST_F(AfterInstallActions, AreOfferedWithTheirComponent)
{
    actions.follow_selection(true);
    EXPECT_TRUE(box("notify")->isEnabled());
    EXPECT_TRUE(box("notify")->isChecked());
    EXPECT_EQ(all()->checkState(), Qt::Checked);
    EXPECT_EQ(notify->skip, 0);

    tools->selection = VINST_SELECTION::not_selected;
    actions.follow_selection(true);
    EXPECT_FALSE(box("notify")->isEnabled());
    EXPECT_FALSE(box("notify")->isChecked());
    EXPECT_EQ(notify->skip, 1);
    EXPECT_TRUE(box("shortcuts")->isChecked());
    EXPECT_EQ(all()->checkState(), Qt::PartiallyChecked);
}

TEST_F(AfterInstallActions, AreAllOffWithoutAnInstallation)
{
    actions.follow_selection(false);
    for (const QCheckBox* each : {all(), box("shortcuts"), box("notify")})
    {
        EXPECT_FALSE(each->isEnabled());
        EXPECT_EQ(each->checkState(), Qt::Unchecked);
    }
    EXPECT_EQ(shortcuts->skip, 1);
}

TEST_F(AfterInstallActions, WriteTheUsersChoiceIntoTheAction)
{
    actions.follow_selection(true);
    box("notify")->click();
    EXPECT_EQ(notify->skip, 1);
    EXPECT_EQ(shortcuts->skip, 0);
    EXPECT_EQ(all()->checkState(), Qt::PartiallyChecked);
    box("notify")->click();
    EXPECT_EQ(notify->skip, 0);
    EXPECT_EQ(all()->checkState(), Qt::Checked);
}

TEST_F(AfterInstallActions, FollowTheSelectAllBox)
{
    actions.follow_selection(true);
    all()->click();
    EXPECT_EQ(all()->checkState(), Qt::Unchecked);
    EXPECT_EQ(notify->skip, 1);
    EXPECT_EQ(shortcuts->skip, 1);
    all()->click();
    EXPECT_EQ(all()->checkState(), Qt::Checked);
    EXPECT_EQ(notify->skip, 0);
    box("notify")->click();
    all()->click();
    EXPECT_EQ(all()->checkState(), Qt::Checked);
}

TEST_F(AfterInstallActions, LeaveActionsThatAreNotOfferedUnchanged)
{
    tools->selection = VINST_SELECTION::not_selected;
    actions.follow_selection(true);
    all()->click();
    EXPECT_EQ(all()->checkState(), Qt::PartiallyChecked);
    EXPECT_FALSE(box("notify")->isChecked());
}

TEST_F(AfterInstallActions, ForgetTheUsersChoiceWhenTheSelectionChanges)
{
    actions.follow_selection(true);
    box("notify")->click();
    actions.follow_selection(true);
    EXPECT_TRUE(box("notify")->isChecked());
    EXPECT_EQ(notify->skip, 0);
}

TEST_F(AfterInstallActions, RememberTheUsersChoiceForTheNextRun)
{
    actions.follow_selection(true);
    box("notify")->click();
    CFGQ_REGISTRY_KEY settings("after install actions");
    actions.save(settings);
    EXPECT_EQ(settings.get_value("The notify && co").toBool(), false);
    EXPECT_EQ(settings.get_value(all()->text()).toInt(), 1);

    VINST_AFTER_INSTALL_ACTIONS next;
    next.rebuild(release, "linux");
    next.follow_selection(true);
    next.restore(settings);
    EXPECT_EQ(notify->skip, 1);
    EXPECT_EQ(shortcuts->skip, 0);
    EXPECT_EQ(next.findChild<QCheckBox*>("m_all_actions_checkbox")->checkState(),
              Qt::PartiallyChecked);
}

TEST_F(AfterInstallActions, ThatAreNewFollowTheSelectAllBox)
{
    actions.follow_selection(true);
    all()->click();
    CFGQ_REGISTRY_KEY settings("after install actions");
    actions.save(settings);
    add("new", VINST_COMPONENT_KIND::install);
    actions.rebuild(release, "linux");
    actions.follow_selection(true);
    actions.restore(settings);
    EXPECT_FALSE(box("new")->isChecked());
    EXPECT_EQ(all()->checkState(), Qt::Unchecked);
}

TEST_F(AfterInstallActions, UseTheManifestsDescriptionAsToolTip)
{
    notify->desc = "R&D tools, \"new\" <b>here</b>\nand there";
    actions.rebuild(release, "linux");
    EXPECT_EQ(box("notify")->toolTip(),
              "<qt>R&amp;D tools, &quot;new&quot; &lt;b&gt;here&lt;/b&gt;<br/>and there</qt>");
}

TEST_F(AfterInstallActions, KeepALongTitleCompleteButNarrow)
{
    notify->title = QString(300, 'w');
    actions.rebuild(release, "linux");
    EXPECT_EQ(box("notify")->text(), notify->title) << "the choice is stored under it";
    EXPECT_LE(actions.minimumSizeHint().width(), 400);
    EXPECT_LE(actions.sizeHint().width(), 900);
    EXPECT_EQ(box("notify")->toolTip(), "<qt>" + notify->title + "</qt>");
}

TEST_F(AfterInstallActions, ElideALongTitleInTheMiddle)
{
    notify->title = QString(30, 'a') + QString(200, 'm') + QString(30, 'z');
    shortcuts->title = QString(30, 'a') + QString(60, '-') + QString(30, 'z');
    actions.rebuild(release, "linux");
    actions.resize(400, 60);
    actions.show();
    // Both show the same start and end around the ellipsis.
    QImage pictures[2];
    for (int i = 0; i < 2; ++i)
    {
        QCheckBox* const each = box(i == 0 ? "notify" : "shortcuts");
        each->resize(180, each->height());
        pictures[i] = each->grab().toImage();
    }
    EXPECT_EQ(pictures[0], pictures[1]);
}

TEST(SkipFlag, IsTheInverseOfTheCheckState)
{
    EXPECT_EQ(skip_of(Qt::Checked), 0);
    EXPECT_EQ(skip_of(Qt::Unchecked), 1);
    EXPECT_EQ(skip_of(Qt::PartiallyChecked), 2);
}
