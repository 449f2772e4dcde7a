#include "install/vinst/download/vinst_file_check.h"
#include "install/vinst/release/vinst_data.h"
#include "tests/harness/scanner_win32.h"
#include "tests/harness/temp_dir.h"

using namespace std::chrono_literals;

TEST(CheckMd5, WaitsForAScannerThatHoldsTheFile)
{
    const TEMP_DIR dir;
    const auto path = dir.write("a.exe", "hello\n");
    VINST_RELEASE release;
    release.set_download_dir(dir.qstr());
    VINST_COMPONENT* const component = release.add_component();
    component->filename = "a.exe";
    component->md5sum = "b1946ac92492d2347c6235b4d2611184";
    EXPECT_TRUE(while_scanned(path, 700ms, [component] { return check_md5(component); }));
    const SCANNER scanner(path);
    EXPECT_FALSE(check_md5(component, [] { return true; })) << "a stop ends the wait";
}
