#include "install/vinst/release/vinst_data.h"
#include "install/vinst/release/vinst_mirror.h"

#include <gtest/gtest.h>

TEST(Mirror, HasTheFilesBelowTheAddressOfTheRelease)
{
    struct CASE
    {
        const char* address;
        const char* release;
        const char* mirror;
        const char* expected;
    };
    for (const CASE& good : {
             CASE{"https://d.example/5.2/t.txt", "https://d.example/5.2", "http://m:8080",
                  "http://m:8080/t.txt"},
             CASE{"https://d.example/5.2/t.txt", "https://d.example/5.2/", "http://m/x//",
                  "http://m/x/t.txt"},
             CASE{"https://d.example/5.2/a/t.txt", "https://d.example/5.2", "http://m/x",
                  "http://m/x/a/t.txt"},
             CASE{"https://d.example/t.txt", "https://d.example", "http://m", "http://m/t.txt"},
             CASE{"HTTPS://D.example/5.2/t.txt", "https://d.Example/5.2", "http://m",
                  "http://m/t.txt"},
             CASE{"https://d.example/a%20b/c%2Fd%3F.txt", "https://d.example/a%20b", "http://m",
                  "http://m/c%2Fd%3F.txt"},
             CASE{"https://d.example/5.2/t.txt?v=1", "https://d.example/5.2", "http://m",
                  "http://m/t.txt?v=1"},
             CASE{"https://d.example/5.2/a/../t.txt", "https://d.example/5.2", "http://m",
                  "http://m/t.txt"},
             CASE{"https://d.example/5//x/t.txt", "https://d.example/5//x", "http://m",
                  "http://m/t.txt"},
             CASE{"https://d.example/5.2/t.txt", "https://d.example/5.2", "http://ada:x@m",
                  "http://ada:x@m/t.txt"},
         })
        EXPECT_EQ(address_on_mirror(good.address, good.release, good.mirror), good.expected)
            << good.address;
}

TEST(Mirror, HasNoFilesThatAreElsewhere)
{
    for (const auto& [address, release] : std::vector<std::pair<const char*, const char*>>{
             {"https://other.example/5.2/t.txt", "https://d.example/5.2"},
             {"http://d.example/5.2/t.txt", "https://d.example/5.2"},
             {"https://d.example:81/5.2/t.txt", "https://d.example/5.2"},
             {"https://d.example/5.20/t.txt", "https://d.example/5.2"},
             {"https://d.example/t.txt", "https://d.example/5.2"},
             {"https://d.example/5.2", "https://d.example/5.2"},
             {"https://d.example/5.2/", "https://d.example/5.2"},
             {"https://d.example/5.2/../t.txt", "https://d.example/5.2"},
             {"t.txt", "https://d.example/5.2"},
             {"/5.2/t.txt", "https://d.example/5.2"},
             {"", "https://d.example/5.2"},
             {"https://d.example/t.txt", ""},
         })
    {
        EXPECT_EQ(path_below(address, release), "") << address;
        EXPECT_EQ(address_on_mirror(address, release, "http://m"), address);
    }
}

TEST(Mirror, ServesARelease)
{
    VINST_RELEASE release;
    release.manifest_download_url = "https://d.example/5.2/";
    release.set_test_file("https://d.example/5.2/t.txt", "m");
    release.use_mirror("http://m/x/");
    EXPECT_EQ(release.download_url(), "http://m/x");
    EXPECT_EQ(release.test_url(), "http://m/x/t.txt");
    EXPECT_EQ(release.test_md5sum(), "m");
}

TEST(Mirror, LeavesTheBuiltInTestFileAtItsAddress)
{
    VINST_RELEASE release;
    release.set_version("5.2.0.31");
    release.use_mirror("http://m");
    EXPECT_EQ(release.download_url(), "http://m");
    EXPECT_EQ(release.test_url(), VINST_RELEASE().test_url());
}
