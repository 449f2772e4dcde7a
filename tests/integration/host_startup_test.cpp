#include "tests/integration/host_fixture.h"

#include <filesystem>

namespace
{

class HostStartup : public HostTest
{
protected:
    /// The files that the dynamic linker loads during a run.
    std::string loaded_files()
    {
        std::string text;
        for (const auto& entry : std::filesystem::directory_iterator(dir.path()))
            if (entry.path().stem() == "loaded")
                text += read_file(entry.path());
        return text;
    }
};

}

TEST_F(HostStartup, LoadsNoWindowSystemInTheConsole)
{
    builder.component("one").pattern_content(3000, 1);
    publish();
    environment["LD_DEBUG"] = "files";
    environment["LD_DEBUG_OUTPUT"] = (dir / "loaded").string();
    run(run_arguments());
    EXPECT_TRUE(output_holds("\nDownload successful\n")) << output;
    const std::string loaded = loaded_files();
    EXPECT_NE(loaded.find("libQt5Core.so.5"), std::string::npos);
    EXPECT_EQ(loaded.find("platforms/"), std::string::npos);
    EXPECT_EQ(loaded.find("libfontconfig"), std::string::npos);
}

TEST_F(HostStartup, AsksNoDesktopForAProxyOutsideOfADesktopSession)
{
    builder.component("one").pattern_content(3000, 1);
    publish();
    for (const char* desktop : {"", "GNOME"})
    {
        environment["LD_DEBUG"] = "files";
        environment["LD_DEBUG_OUTPUT"] = (dir / "loaded").string();
        environment["XDG_CURRENT_DESKTOP"] = desktop;
        run({"--test-download"});
        EXPECT_TRUE(output_holds("\nTest download -> success\n")) << output;
        EXPECT_EQ(loaded_files().find("libgio-2.0.so.0") != std::string::npos, *desktop != '\0');
    }
}
