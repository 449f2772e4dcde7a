#include "tests/integration/host_fixture.h"

#include "tests/harness/window_driver.h"

namespace
{

/// The graphical host on screens of different resolutions.
class HostWindowScale : public HostTest
{
protected:
    /// What the driver prints about the main window on a screen with that resolution.
    std::string scale_at(const std::string& dots_per_inch)
    {
        CHILD_SETUP host = setup({}, "vinst_gui");
        drive_windows(host, {"window:VINST_DOWNLOADER_DLG", "scale:VINST_DOWNLOADER_DLG"});
        // The only way to set the resolution of the platform without a display.
        host.environment["QT_FONT_DPI"] = dots_per_inch;
        CHILD_PROCESS child(host);
        EXPECT_TRUE(child.wait_for_output(all_steps_taken, 30s)) << child.errors();
        const std::string text = child.output();
        const std::size_t begin = text.find("scale ");
        return begin == std::string::npos ? text
                                          : text.substr(begin, text.find(',', begin) - begin);
    }
};

}

TEST_F(HostWindowScale, FollowsTheResolutionOfTheScreen)
{
    builder.component("one");
    publish();
    EXPECT_EQ(scale_at("96"), "scale 1");
    EXPECT_EQ(scale_at("144"), "scale 1.5");
    EXPECT_EQ(scale_at("192"), "scale 2");
}
