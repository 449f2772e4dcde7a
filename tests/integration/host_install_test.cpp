#include "tests/integration/host_fixture.h"

#include "tests/harness/installer_scripts.h"

namespace
{

class HostInstall : public HostTest
{
protected:
    void install(const ARGUMENTS& more = {})
    {
        ARGUMENTS arguments = run_arguments({"--install-dir", installed(), "--accept-eula"});
        arguments.insert(arguments.end(), more.begin(), more.end());
        run(arguments);
    }
};

}

TEST_F(HostInstall, GoesFromAManifestToAnInstalledRelease)
{
    builder.component("veltrin_base").standalone().content(main_product_script());
    builder.component("part").content(install_script());
    builder.component("flexlm").standalone().content(install_script());
    publish();
    install();
    EXPECT_TRUE(result.exited_with(0));
    EXPECT_TRUE(
        output_holds("Auto install: on\nInstall dir: " + installed() + "\nAccept EULA: yes\n"));
    EXPECT_TRUE(output_holds(
        "\nDownload successful\nDo install ...\nInstallation completed successfully\n"));
    EXPECT_EQ(dir.read("inst/install_order"), "veltrin_base.run\nflexlm.run\n");
    EXPECT_NE(
        log().find("Run command: " + downloads() +
                   "/veltrin_base.run --mode unattended --unattendedmodeui minimal --accept_eula "
                   "1  --installdir " +
                   installed() + " --enable-components part --disable-components flexlm\n"),
        std::string::npos)
        << log();
    EXPECT_NE(log().find("returned 0: installed "), std::string::npos);
}

TEST_F(HostInstall, StopsAtAFailingInstaller)
{
    builder.component("a").content(install_script());
    builder.component("b").content(install_script(4));
    builder.component("c").content(install_script());
    publish();
    install();
    EXPECT_TRUE(result.exited_with(0));
    EXPECT_TRUE(output_holds("Do install ...\nInstallation cancelled or finished with error\n"));
    EXPECT_EQ(dir.read("inst/install_order").find("c.run"), std::string::npos);
    EXPECT_NE(log().find(" returned 4: "), std::string::npos);
}

TEST_F(HostInstall, RefusesADirectoryThatIsNotEmpty)
{
    builder.component("a").content(install_script());
    publish();
    dir.write("inst/.hidden", "x");
    for (const ARGUMENTS& more : {ARGUMENTS{}, ARGUMENTS{"--bypass"}})
    {
        install(more);
        EXPECT_TRUE(result.exited_with(0));
        EXPECT_EQ(
            output,
            "The installation directory is not empty. This application does not support updating "
            "an existing installation. \nTurn off the 'auto install after download' option and "
            "run the installer manually after download.\n");
    }
    EXPECT_EQ(server.request_count(), 0U);
}

TEST_F(HostInstall, ChecksTheSpaceUnlessItIsBypassed)
{
    builder.component("a").content(install_script()).installsize(9e17);
    publish();
    install();
    EXPECT_EQ(output,
              "Disk space insufficient for installation. Use --bypass to avoid the space check.\n");
    run(run_arguments());
    EXPECT_TRUE(output_holds("Auto install: off\nNumber of parallel downloads: 4\n"));
    EXPECT_FALSE(std::filesystem::exists(installed()));
    install({"--bypass"});
    EXPECT_TRUE(output_holds("Installation completed successfully"));
}

TEST_F(HostInstall, ChecksTheSpaceForDownloads)
{
    builder.component("a").raw_key("size", "900000000000000000");
    publish();
    run(run_arguments());
    EXPECT_EQ(output,
              "Disk space insufficient for download. Use --bypass to avoid the space check.\n");
    EXPECT_TRUE(result.exited_with(0));
}
