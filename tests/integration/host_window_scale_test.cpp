#include "tests/integration/host_fixture.h"

#include "tests/harness/window_driver.h"

namespace
{

/// The graphical host on screens of different resolutions.
class HostWindowScale : public HostTest
{
protected:
    /// What the driver prints first in that step, on a screen with that resolution.
    std::string seen_at(const std::string& dots_per_inch, const std::string& step)
    {
        CHILD_SETUP host = setup({}, "vinst_gui");
        drive_windows(host, {"window:VINST_DOWNLOADER_DLG", step});
        // The only way to set the resolution of the platform without a display.
        host.environment["QT_FONT_DPI"] = dots_per_inch;
        CHILD_PROCESS child(host);
        EXPECT_TRUE(child.wait_for_output(all_steps_taken, 30s)) << child.errors();
        const std::string text = child.output();
        const std::size_t begin = text.find(step.substr(0, step.find(':')) + ' ');
        return begin == std::string::npos
                   ? text
                   : text.substr(begin, text.find_first_of(",\n", begin) - begin);
    }
};

}

TEST_F(HostWindowScale, FollowsTheResolutionOfTheScreen)
{
    constexpr const char* main_window_scale = "scale:VINST_DOWNLOADER_DLG";
    builder.component("one");
    publish();
    EXPECT_EQ(seen_at("96", main_window_scale), "scale 1");
    EXPECT_EQ(seen_at("144", main_window_scale), "scale 1.5");
    EXPECT_EQ(seen_at("192", main_window_scale), "scale 2");
}

TEST_F(HostWindowScale, DrawsTheLogoInItsSizeAtEveryResolution)
{
    constexpr const char* logo_height = "height:m_logo_label";
    builder.component("one");
    publish();
    for (const char* dots_per_inch : {"96", "144", "192"})
        EXPECT_EQ(seen_at(dots_per_inch, logo_height), "height 40") << dots_per_inch;
}
