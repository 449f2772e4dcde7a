#include "tests/harness/window_driver.h"

void drive_windows(CHILD_SETUP& host, const std::vector<std::string>& steps)
{
    std::string all;
    for (const std::string& step : steps)
        all += step + ' ';
    host.environment["QT_QPA_PLATFORM"] = "offscreen";
    host.environment["QT_PLUGIN_PATH"] = VINST_TEST_BINARY_DIR "/tests/plugins";
    host.environment["QT_QPA_GENERIC_PLUGINS"] = "vinst_window_driver";
    host.environment["VINST_TEST_WINDOW_STEPS"] = all;
}
