#include "install/vinst/release/vinst_data_space.h"

#include "install/vinst/base/vinst_messages.h"
#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

namespace
{

constexpr quint64 mebibyte = 1048576;
constexpr qint64 gibibyte = 1073741824;

class Space : public ::testing::Test
{
protected:
    Space()
    {
        release.set_download_dir(QString::fromStdString((dir / "dl").string()));
        release.set_install_dir(QString::fromStdString((dir / "inst").string()));
        VINST_MESSAGES::instance().log_path = (dir / "log").string();
        VINST_MESSAGES::instance().open_log();
    }

    VINST_COMPONENT* add(const QString& name, quint64 size, double installsize)
    {
        VINST_COMPONENT* component = release.add_component();
        component->name = name;
        component->platform = "linux";
        component->filename = name + ".run";
        component->kind = VINST_COMPONENT_KIND::download;
        component->selection = VINST_SELECTION::selected;
        component->size = static_cast<qint64>(size);
        component->installsize = installsize;
        release.index_component(component);
        return component;
    }

    /// Volumes by the suffix of a directory's path.
    static VINST_VOLUME_QUERY volume(const QString& root, qint64 available)
    {
        return [=](const QString&) { return VINST_VOLUME{root, available}; };
    }

    std::vector<std::string> logged() const
    {
        std::vector<std::string> lines;
        for (const std::string& line : read_lines(dir / "log"))
            lines.push_back(line.substr(line.find("[info] ") + 7));
        return lines;
    }

    const TEMP_DIR dir;
    VINST_RELEASE release;
};

using LINES = std::vector<std::string>;

}

TEST_F(Space, IsSummedOverSelectedComponents)
{
    add("a", 10, 100);
    add("b", 20, 200);
    add("c", 40, 400)->selection = VINST_SELECTION::not_selected;
    add("w", 80, 800)->platform = "windows";
    dir.write("dl/b.run", "part of it");
    const VINST_SPACE_FIGURES figures = space_figures(release, "linux");
    EXPECT_EQ(figures.selected, 30U);
    EXPECT_EQ(figures.downloaded, 20U);
    EXPECT_EQ(figures.to_download, 10U);
    EXPECT_EQ(figures.to_install, 300U);
}

TEST_F(Space, CountsTheAncestorsOfASimulatorEditionOnly)
{
    VINST_COMPONENT* top = add("top", 0, 2);
    VINST_COMPONENT* parent = add("parent", 0, 10);
    top->selection = VINST_SELECTION::not_selected;
    parent->selection = VINST_SELECTION::not_selected;
    parent->set_parent(*top);
    add("morlan", 0, 1000);
    VINST_COMPONENT* edition = add("morlan_fe", 0, 500);
    edition->set_parent(*parent);
    EXPECT_EQ(space_figures(release, "linux").to_install, 12U);
    add("morlan_fse", 0, 500)->set_parent(*parent);
    EXPECT_EQ(space_figures(release, "linux").to_install, 24U);
    add("morlan_fx", 0, 500)->set_parent(*parent);
    EXPECT_EQ(space_figures(release, "linux").to_install, 24U);
}

TEST_F(Space, ForDownloadsMustBeMoreThanIsNeeded)
{
    add("a", static_cast<quint64>(gibibyte), 0);
    EXPECT_FALSE(has_enough_download_space(release, "linux", volume("/", gibibyte)));
    EXPECT_TRUE(has_enough_download_space(release, "linux", volume("/", gibibyte + mebibyte)));
    EXPECT_FALSE(has_enough_download_space(release, "linux", volume("/", gibibyte + mebibyte - 1)));
    const LINES lines = logged();
    EXPECT_EQ(lines.at(0), "Check having enough download space:");
    EXPECT_EQ(lines.at(1), "Total download size: 1.00 GB, total avail: 1.00 GB");
}

TEST_F(Space, OfAMebibyteIsEnoughForNothing)
{
    add("a", static_cast<quint64>(gibibyte), 0);
    dir.write("dl/a.run", "x");
    EXPECT_TRUE(has_enough_download_space(release, "linux", volume("/", mebibyte)));
    EXPECT_FALSE(has_enough_download_space(release, "linux", volume("/", mebibyte - 1)));
}

TEST_F(Space, IsInsufficientIfTheVolumeCannotBeQueried)
{
    EXPECT_FALSE(has_enough_download_space(release, "linux", volume("/", -1)));
    EXPECT_EQ(logged().at(1), "Total download size: 0.00 GB, total avail: 0.00 GB");
}

TEST_F(Space, UsesTheDefaultDownloadDirectoryIfNoneIsSet)
{
    release.set_download_dir("");
    release.edition = "pro";
    has_enough_download_space(release, "linux", volume("/", 1));
    EXPECT_EQ(release.download_dir(), release.default_download_dir());
}

TEST_F(Space, ForInstallingIncludesTheDownloadOnTheSameVolume)
{
    add("a", static_cast<quint64>(gibibyte), static_cast<double>(gibibyte));
    EXPECT_FALSE(has_enough_install_space(release, "linux", volume("/", 2 * gibibyte)));
    EXPECT_TRUE(has_enough_install_space(release, "linux", volume("/", 2 * gibibyte + mebibyte)));
    const LINES lines = logged();
    EXPECT_EQ(lines.at(0), "Check having enough download & install space:");
    EXPECT_EQ(lines.at(1), "Total download & install size: 2.00 GB, total avail: 2.00 GB");
}

TEST_F(Space, ForInstallingIsSeparateOnAnotherVolume)
{
    dir.make_dir("dl");
    dir.make_dir("inst");
    add("a", static_cast<quint64>(gibibyte), static_cast<double>(gibibyte));
    const VINST_VOLUME_QUERY two_volumes = [](const QString& path) {
        return VINST_VOLUME{path, path.endsWith("/inst") ? gibibyte + qint64{mebibyte} : 0};
    };
    EXPECT_TRUE(has_enough_install_space(release, "linux", two_volumes));
    const LINES lines = logged();
    EXPECT_EQ(lines.at(0), "Check having enough install space:");
    EXPECT_EQ(lines.at(1), "Total install size: 1.00 GB, total avail: 1.00 GB");
}

TEST_F(Space, OfARealVolumeIsFound)
{
    const VINST_VOLUME found = query_volume(dir.qstr());
    EXPECT_FALSE(found.root.isEmpty());
    EXPECT_GT(found.available, 0);
}

TEST_F(Space, IsPartOfTheRunSummary)
{
    add("a", static_cast<quint64>(gibibyte), static_cast<double>(3 * gibibyte));
    add("b", static_cast<quint64>(gibibyte) / 2, 0);
    dir.write("dl/b.run", "x");
    const QString dl = release.download_dir();
    EXPECT_EQ(
        run_summary(release, {"linux", false, 4, 60}),
        (QStringList{"Platform selected: linux", "Components selected:", "  a", "  b",
                     "Total selected components size: 1.50 GB", "Already downloaded size: 0.50 GB",
                     "Total download size: 1.00 GB", "Download dir: " + dl, "Auto install: off",
                     "Number of parallel downloads: 4", "Retry duration: 60 (minutes)"}));
    EXPECT_EQ(run_summary(release, {"linux", true, 1, 0}).mid(8),
              (QStringList{"Auto install: on", "Install dir: " + release.install_dir(),
                           "Accept EULA: yes", "Total install size: 3.00 GB",
                           "Number of parallel downloads: 1", "Retry duration: 0 (minutes)"}));
}

TEST_F(Space, SaturatesInsteadOfOverflowing)
{
    constexpr quint64 largest = 9223372036854775807;
    add("a", largest, 1e300);
    add("b", largest, 1e300);
    add("c", 1000, 1e300);
    const VINST_SPACE_FIGURES figures = space_figures(release, "linux");
    EXPECT_GE(figures.selected, largest);
    EXPECT_GE(figures.to_download, largest);
    EXPECT_GE(figures.to_install, largest);
    EXPECT_FALSE(has_enough_download_space(release, "linux", volume("/", gibibyte)));
    EXPECT_FALSE(has_enough_install_space(release, "linux", volume("/", gibibyte)));
}

TEST_F(Space, IsQueriedForTheNearestExistingDirectories)
{
    dir.make_dir("inst");
    QStringList asked;
    const VINST_VOLUME_QUERY query = [&asked](const QString& path)
    {
        asked.append(path);
        return VINST_VOLUME{"/", gibibyte};
    };
    EXPECT_TRUE(has_enough_download_space(release, "linux", query));
    EXPECT_EQ(asked, QStringList{QDir::fromNativeSeparators(dir.qstr())});
    asked.clear();
    EXPECT_TRUE(has_enough_install_space(release, "linux", query));
    asked.sort();
    EXPECT_EQ(asked, (QStringList{QDir::fromNativeSeparators(dir.qstr()),
                                  QDir::fromNativeSeparators(dir.qstr() + "/inst")}));
}

TEST_F(Space, ForInstallingIsInsufficientIfTheVolumeCannotBeQueried)
{
    EXPECT_FALSE(has_enough_install_space(release, "linux", volume("/", -1)));
    EXPECT_EQ(logged().at(1), "Total download & install size: 0.00 GB, total avail: 0.00 GB");
}

TEST_F(Space, IsSummarisedUnderNamesWithoutControlCharacters)
{
    add("a\nAuto install: on", 1, 0);
    EXPECT_EQ(run_summary(release, {"linux", false, 4, 60}).at(2),
              QString("  a\uFFFDAuto install: on"));
}

TEST_F(Space, IsSummarisedForTheChosenPlatformAndWithTheDefaultDirectory)
{
    release.set_download_dir("");
    add("a", 1, 0);
    const QStringList lines = run_summary(release, {"windows", false, 6, 10000});
    EXPECT_EQ(lines,
              (QStringList{"Platform selected: windows",
                           "Components selected:", "Total selected components size: 0.00 GB",
                           "Already downloaded size: 0.00 GB", "Total download size: 0.00 GB",
                           "Download dir: " + release.default_download_dir(), "Auto install: off",
                           "Number of parallel downloads: 6", "Retry duration: 10000 (minutes)"}));
}

TEST_F(Space, IsRoundedInTheSummaryAsInTheLog)
{
    add("half", 134'217'728, 0); // 0.125 GB
    EXPECT_FALSE(has_enough_download_space(release, "linux", volume("/", 134'217'728)));
    EXPECT_EQ(logged().at(1), "Total download size: 0.12 GB, total avail: 0.12 GB");
    EXPECT_TRUE(run_summary(release, {"linux", false, 4, 60})
                    .contains("Total selected components size: 0.12 GB"));
}

TEST_F(Space, IsNeededTwiceForTheLargestPieceOfAFile)
{
    VINST_COMPONENT* const large = add("large", 100 * mebibyte, 0);
    VINST_COMPONENT* const small = add("small", 10 * mebibyte, 0);
    const VINST_COMPONENT_LIST both{large, small};
    const QString dl = release.download_dir();
    const qint64 needed = 160 * mebibyte;
    EXPECT_TRUE(has_enough_space_to_join(both, dl, volume("/", needed + 1)));
    EXPECT_TRUE(logged().empty());
    EXPECT_FALSE(has_enough_space_to_join(both, dl, volume("/", needed)));
    EXPECT_EQ(logged(), (LINES{"Check having enough joining space:",
                               "Total download & join size: 0.16 GB, total avail: 0.16 GB"}));
    EXPECT_FALSE(has_enough_space_to_join(both, dl, volume("/", -1)));
    EXPECT_TRUE(has_enough_space_to_join({small}, dl, volume("/", 15 * mebibyte + 1)));
}

TEST_F(Space, IsNeededToJoinOnlyWhatIsMissing)
{
    VINST_COMPONENT* const one = add("one", 100, 0);
    dir.write("dl/one.run", std::string(60, 'x'));
    one->file.measure();
    EXPECT_TRUE(has_enough_space_to_join({one}, release.download_dir(), volume("/", 61)));
    EXPECT_FALSE(has_enough_space_to_join({one}, release.download_dir(), volume("/", 60)));
}
