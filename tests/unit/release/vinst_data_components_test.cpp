#include "install/vinst/release/vinst_data_components.h"

#include "install/vinst/base/vinst_messages.h"
#include "tests/harness/temp_dir.h"
#include "tests/harness/time_ratio.h"

#include <gtest/gtest.h>

namespace
{

using NAMES = std::vector<std::string>;
constexpr auto download = VINST_COMPONENT_KIND::download;

NAMES names_of(const VINST_COMPONENT_LIST& list)
{
    NAMES names;
    for (const VINST_COMPONENT* component : list)
        names.push_back(component->name.toStdString());
    return names;
}

class ComponentLists : public ::testing::Test
{
protected:
    ComponentLists()
    {
        VINST_MESSAGES::instance().log_path = (dir / "log").string();
        VINST_MESSAGES::instance().open_log();
    }

    VINST_COMPONENT* add(const QString& name, bool selected = false,
                         const QString& platform = "linux", const QString& ending = ".run")
    {
        VINST_COMPONENT* component = release.add_component();
        component->name = name;
        component->platform = platform;
        component->filename = ending.isEmpty() ? QString() : name + ending;
        component->kind = download;
        component->selection = selected ? VINST_SELECTION::selected : VINST_SELECTION::not_selected;
        release.index_component(component);
        return component;
    }

    NAMES resolve(const QString& text)
    {
        all_valid = true;
        return names_of(resolve_components(release, text, "linux", all_valid));
    }

    /// The lines of the log without their timestamps.
    std::string logged() const
    {
        std::string text;
        for (const std::string& line : read_lines(dir / "log"))
            text += line.substr(line.find("] ") + 2) + "\n";
        return text;
    }

    const TEMP_DIR dir;
    VINST_RELEASE release;
    bool all_valid = true;
};

}

TEST_F(ComponentLists, ContainAKindForAPlatformInManifestOrder)
{
    add("b");
    add("w", false, "windows");
    add("any", false, "");
    add("a");
    add("action")->kind = VINST_COMPONENT_KIND::install;
    EXPECT_EQ(names_of(components_of_kind(release, download, "linux")), (NAMES{"b", "any", "a"}));
    EXPECT_EQ(names_of(components_of_kind(release, download, "windows")), (NAMES{"w", "any"}));
    EXPECT_EQ(names_of(components_of_kind(release, VINST_COMPONENT_KIND::install, "linux")),
              (NAMES{"action"}));
    EXPECT_DEATH(components_of_kind(release, download, ""),
                 "platform == \"linux\" \\|\\| platform == \"windows\"");
}

TEST_F(ComponentLists, ContainSelectedDownloadsOnlyWithAFile)
{
    add("a", true);
    add("group", true, "linux", "");
    add("b");
    add("partly")->selection = VINST_SELECTION::partly_selected;
    VINST_COMPONENT* action = add("action", true, "linux", "");
    action->kind = VINST_COMPONENT_KIND::install;
    EXPECT_EQ(names_of(selected_components(release, download, "linux")), (NAMES{"a", "partly"}));
    EXPECT_EQ(names_of(selected_components(release, VINST_COMPONENT_KIND::install, "linux")),
              (NAMES{"action"}));
}

TEST_F(ComponentLists, DefaultToTheManifestsSelection)
{
    add("a", true);
    add("b");
    EXPECT_EQ(resolve(""), (NAMES{"a"}));
    EXPECT_TRUE(all_valid);
    EXPECT_TRUE(release.components()[0]->is_selected());
}

TEST_F(ComponentLists, PutDependenciesAndTheParentAfterTheNamedComponent)
{
    VINST_COMPONENT* parent = add("parent");
    VINST_COMPONENT* one = add("one");
    VINST_COMPONENT* two = add("two");
    VINST_COMPONENT* far = add("far");
    VINST_COMPONENT* empty = add("empty", true, "linux", "");
    VINST_COMPONENT* named = add("named");
    add("other", true);
    named->set_parent(*parent);
    named->dependencies = {one, empty, two};
    one->dependencies = {far};
    EXPECT_EQ(resolve("two,named"), (NAMES{"two", "named", "one", "parent"}));
    EXPECT_EQ(logged(),
              "[info] Add dependent component: one\n[info] Add parent component: parent\n");
    EXPECT_TRUE(parent->is_selected());
    EXPECT_FALSE(far->is_selected());
    EXPECT_FALSE(empty->is_selected());
    EXPECT_FALSE(release.find_component("other", "linux")->is_selected());
}

TEST_F(ComponentLists, OmitAParentWithoutAFile)
{
    VINST_COMPONENT* group = add("devinfo", false, "linux", "");
    add("orion", false, "linux", ".vdz")->set_parent(*group);
    EXPECT_EQ(resolve("orion"), (NAMES{"orion"}));
}

TEST_F(ComponentLists, ContainEachComponentOnce)
{
    add("veltrin_base");
    VINST_COMPONENT* a = add("a");
    a->dependencies = {a, add("b")};
    EXPECT_EQ(resolve("veltrin,veltrin_base,a,b,a"), (NAMES{"veltrin_base", "a", "b"}));
}

TEST_F(ComponentLists, SurviveDependencyCycles)
{
    VINST_COMPONENT* a = add("a");
    VINST_COMPONENT* b = add("b");
    a->dependencies = {b};
    b->dependencies = {a};
    EXPECT_EQ(resolve("a"), (NAMES{"a", "b"}));
}

TEST_F(ComponentLists, LogEachUnknownName)
{
    add("a");
    EXPECT_EQ(resolve("x,a,,y"), (NAMES{"a"}));
    EXPECT_FALSE(all_valid);
    EXPECT_EQ(logged(), "[error] Component: x is invalid\n[error] Component:  is invalid\n"
                        "[error] Component: y is invalid\n");
}

TEST_F(ComponentLists, OfferTheNamesOfThePlatformAndTheMainProductsShortName)
{
    add("a");
    add("w", false, "windows");
    EXPECT_EQ(selectable_names(release, "linux"), (QStringList{"veltrin", "a"}));
}

TEST_F(ComponentLists, AreSortedForTheHelp)
{
    add("veltrin_base", true);
    VINST_COMPONENT* group = add("devinfo", true, "linux", "");
    add("orion", true, "linux", ".vdz")->set_parent(*group);
    add("lyra", false, "linux", ".vdz")->set_parent(*group);
    add("loose", true, "linux", ".vdz");
    add("morlan", true);
    add("morlan_fe", false, "linux", "");
    add("morlan_fse", true);
    add("tools", true);
    add("extra");
    add("w", true, "windows");
    EXPECT_EQ(components_help(release, "linux").toStdString(),
              "Specify the components to download/install in comma-separated values\n"
              "Default components: veltrin,morlan_fse,tools\n"
              "Default devices: orion\n"
              "Optional components: lyra,morlan_fe,extra");
}

TEST(ComponentsHelp, TakesLinearTimeForDeeplyNestedComponents)
{
    const auto nested = [](int depth)
    {
        auto release = std::make_unique<VINST_RELEASE>();
        VINST_COMPONENT* above = nullptr;
        for (int i = 0; i < depth; ++i)
        {
            VINST_COMPONENT* const component = release->add_component();
            component->name = QString::number(i);
            component->filename = component->name + ".vdz";
            component->kind = download;
            if (above != nullptr)
                component->set_parent(*above);
            above = component;
        }
        return release;
    };
    const auto few = nested(500);
    const auto many = nested(10'000);
    EXPECT_LT(time_ratio([&] { static_cast<void>(components_help(*many, "linux")); },
                         [&] { static_cast<void>(components_help(*few, "linux")); }),
              100);
}

TEST_F(ComponentLists, DoNotFollowIndirectComponents)
{
    VINST_COMPONENT* a = add("a");
    VINST_COMPONENT* b = add("b");
    a->dependencies = {b};
    b->dependencies = {add("c")};
    b->set_parent(*add("p"));
    EXPECT_EQ(resolve("a,b"), (NAMES{"a", "b"}));
    EXPECT_EQ(resolve("b,a"), (NAMES{"b", "c", "p", "a"}));
}

TEST_F(ComponentLists, ContainARepeatedDependencyOnce)
{
    VINST_COMPONENT* a = add("a");
    VINST_COMPONENT* b = add("b");
    a->dependencies = {b, b};
    a->set_parent(*b);
    EXPECT_EQ(resolve("a"), (NAMES{"a", "b"}));
    EXPECT_EQ(logged(), "[info] Add dependent component: b\n");
}

TEST_F(ComponentLists, ReportTheMainProductsFullNameIfItIsMissing)
{
    add("a");
    EXPECT_EQ(resolve("veltrin"), NAMES{});
    EXPECT_FALSE(all_valid);
    EXPECT_EQ(logged(), "[error] Component: veltrin_base is invalid\n");
}

TEST_F(ComponentLists, AreLimitedToThePlatform)
{
    VINST_COMPONENT* on_windows = add("both", true, "windows");
    VINST_COMPONENT* on_linux = add("both");
    add("w", true, "windows");
    EXPECT_EQ(resolve("both,w"), (NAMES{"both"}));
    EXPECT_TRUE(on_linux->is_selected());
    EXPECT_TRUE(on_windows->is_selected());
    EXPECT_EQ(logged(), "[error] Component: w is invalid\n");
    EXPECT_EQ(names_of(resolve_components(release, "both,w", "windows", all_valid)),
              (NAMES{"both", "w"}));
}

TEST_F(ComponentLists, SelectAChosenSimulatorEditionWithoutAFile)
{
    VINST_COMPONENT* edition = add("morlan_fe", false, "linux", "");
    VINST_COMPONENT* other = add("morlan_fse", true, "linux", "");
    EXPECT_EQ(resolve("morlan_fe"), (NAMES{"morlan_fe"}));
    EXPECT_TRUE(edition->is_selected());
    EXPECT_FALSE(other->is_selected());
}

TEST_F(ComponentLists, ResolvePartlySelectedComponents)
{
    VINST_COMPONENT* a = add("a");
    VINST_COMPONENT* b = add("b");
    a->selection = b->selection = VINST_SELECTION::partly_selected;
    resolve("a");
    EXPECT_EQ(a->selection, VINST_SELECTION::selected);
    EXPECT_EQ(b->selection, VINST_SELECTION::not_selected);
}

TEST_F(ComponentLists, LogNamesWithoutTheirControlCharacters)
{
    VINST_COMPONENT* a = add("a");
    VINST_COMPONENT* b = add("b\n[error] c\x1b[2J");
    a->dependencies = {b};
    resolve("a,x\ry");
    EXPECT_EQ(logged(), "[info] Add dependent component: b\xEF\xBF\xBD[error] c\xEF\xBF\xBD[2J\n"
                        "[error] Component: x\xEF\xBF\xBDy is invalid\n");
}

TEST_F(ComponentLists, PrintEmptyHeadingsInTheHelp)
{
    EXPECT_EQ(components_help(release, "windows").toStdString(),
              "Specify the components to download/install in comma-separated values\n"
              "Default components: \n"
              "Default devices: \n"
              "Optional components: ");
}

TEST_F(ComponentLists, AssertTheirPlatform)
{
    const char* const condition = "platform == \"linux\" \\|\\| platform == \"windows\"";
    EXPECT_DEATH(selected_components(release, download, "Linux"), condition);
    EXPECT_DEATH(components_help(release, ""), condition);
}

TEST_F(ComponentLists, ReturnMissingDependenciesOfTheSelection)
{
    VINST_COMPONENT* base = add("base");
    VINST_COMPONENT* group = add("group", false, "linux", "");
    VINST_COMPONENT* middle = add("middle");
    VINST_COMPONENT* chosen = add("chosen", true);
    VINST_COMPONENT* other = add("other");
    VINST_COMPONENT* ready = add("ready", true);
    chosen->dependencies = {middle, group, ready};
    middle->dependencies = {base, chosen, middle};
    other->dependencies = {base};
    EXPECT_EQ(names_of(missing_dependencies(release, "linux")), (NAMES{"base", "middle"}));
    EXPECT_EQ(logged(),
              "[info] Add dependent component: base\n[info] Add dependent component: middle\n");
    EXPECT_FALSE(base->is_selected());
    chosen->selection = VINST_SELECTION::not_selected;
    EXPECT_EQ(names_of(missing_dependencies(release, "linux")), NAMES{});
}
