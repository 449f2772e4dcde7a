#include "install/vinst/console/vinst_plain_view.h"

#include <gtest/gtest.h>

TEST(PlainView, ReplacesControlCharacters)
{
    const std::string bad = "a\x1b[2J\u009b\u202eb";
    const std::string plain = "a\ufffd[2J\ufffd\ufffdb";
    VINST_PLAIN_VIEW view;
    ::testing::internal::CaptureStdout();
    view.show_connection_attempt(bad, "80\x1b");
    view.show_attempt({});
    view.show_reported_line(QString::fromStdString(bad));
    view.begin_wait({});
    const std::string output = ::testing::internal::GetCapturedStdout();
    EXPECT_NE(output.find("INFO: Proxy server: " + plain + ", port:80\ufffd\n"), std::string::npos)
        << output;
    EXPECT_EQ(output.find("\x1b[2J"), std::string::npos);
    EXPECT_EQ(output.find("\u202e"), std::string::npos);
}
