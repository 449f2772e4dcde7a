#pragma once

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/download/vinst_pac_runner.h"
#include "tests/harness/stopwatch.h"
#include "tests/harness/temp_dir.h"
#include "tests/harness/wait_until.h"

#include <gtest/gtest.h>

#include <functional>

using namespace std::chrono_literals;

/// Evaluates scripts for http://dl.example/x in the real helper process.
class PacRunnerTest : public ::testing::Test
{
protected:
    PacRunnerTest()
    {
        VINST_MESSAGES::instance().log_path = (dir / "log").string();
        VINST_MESSAGES::instance().open_log();
        VINST_MESSAGES::instance().set_debug();
    }
    /// "(none)" if the script yields no directive.
    std::string run(const QString& script, std::chrono::milliseconds at_most = 20s)
    {
        const STOPWATCH watch;
        const auto directive = run_pac_script(
            helper, script, "http://dl.example/x", "dl.example", at_most,
            [this] { return may_go_on(); }, longest);
        duration = watch.elapsed();
        return directive ? directive->toStdString() : "(none)";
    }

    bool log_holds(const std::string& text) const
    {
        return read_file(dir / "log").find(text) != std::string::npos;
    }

    TEMP_DIR dir;
    QString helper = VINST_TEST_BINARY_DIR "/lib/vinst_pac";
    std::function<bool()> may_go_on = [] { return true; };
    std::chrono::milliseconds longest = longest_pac_run;
    MEASURED_TIME duration;
};

inline QString returning(const QString& expression)
{
    return "function FindProxyForURL(url, host) { return " + expression + "; }";
}
