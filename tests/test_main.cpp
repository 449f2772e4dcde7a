#include "tests/test_home.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QTemporaryDir>

#include <initializer_list>

namespace
{

/// The environment of a developer or build machine must not affect the program under test.
void scrub_environment()
{
    for (const char* name : {"vinst_manifest",
                             "VINST_DEBUG",
                             "VINST_SHOW_QT_MESSAGES",
                             "VINST_ENABLE_QT_MESSAGES",
                             "http_proxy",
                             "https_proxy",
                             "all_proxy",
                             "no_proxy",
                             "HTTP_PROXY",
                             "HTTPS_PROXY",
                             "ALL_PROXY",
                             "NO_PROXY",
                             "SSL_CERT_FILE",
                             "SSL_CERT_DIR",
                             "CURL_CA_BUNDLE",
                             "DISPLAY",
                             "WAYLAND_DISPLAY",
                             "QT_QPA_PLATFORMTHEME",
                             "DBUS_SESSION_BUS_ADDRESS",
                             "XDG_CONFIG_HOME",
                             "XDG_CONFIG_DIRS"})
        qunsetenv(name);
    // Proxy detection would query the machine's name servers; its tests have private networks.
    qputenv("VINST_NO_PROXY_DISCOVERY", "1");
    qputenv("QT_QPA_PLATFORM", "offscreen");
}

}

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    if (::testing::GTEST_FLAG(list_tests))
        return RUN_ALL_TESTS();
    const QTemporaryDir directory;
    const TEST_HOME home(directory.path());
    scrub_environment();
    const QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
