#include "install/vinst/base/vinst_process.h"

#include "install/vinst/base/vinst_messages.h"
#include "support/thr/thr_sleep.h"
#include "tests/harness/installer_scripts.h"
#include "tests/harness/stop_request.h"
#include "tests/harness/stopwatch.h"
#include "tests/harness/temp_dir.h"
#include "tests/harness/wait_until.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTimer>

#include <chrono>
#include <optional>
#include <thread>

#include <windows.h>

namespace
{

using namespace std::chrono_literals;

class RunCommand : public ::testing::Test
{
protected:
    RunCommand()
    {
        VINST_MESSAGES::instance().log_path = (dir / "log").string();
        VINST_MESSAGES::instance().open_log();
    }
    ~RunCommand() override { forget_stop_request(); }

    static std::string poser(const std::string& name)
    {
        return std::string(VINST_TEST_BINARY_DIR) + "/tests/posers/" + name + ".exe";
    }

    int run(const std::string& command)
    {
        return run_command(QString::fromStdString(command)).exit_code;
    }

    /// The log without the carriage returns that an installer's C library writes.
    std::string log() const
    {
        std::string text = read_file(dir / "log");
        text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
        return text;
    }
    bool log_holds(const std::string& text) const { return log().find(text) != std::string::npos; }

    std::string hanging_poser() const { return poser("poser_hang") + " --mark " + mark; }

    /// Runs a command and requests a stop as soon as the command has created its mark file.
    int run_and_stop(const std::string& command)
    {
        std::optional<STOPWATCH> since_stop;
        std::thread stopper(
            [&]
            {
                EXPECT_TRUE(wait_until([this] { return std::filesystem::exists(mark); }));
                since_stop.emplace();
                thr_request_stop();
            });
        const int code = run(command);
        stopper.join();
        taken = since_stop->elapsed();
        return code;
    }

    TEMP_DIR dir;
    const std::string mark = (dir / "ready").string();
    MEASURED_TIME taken; ///< from the stop request to the command's end
};

}

TEST_F(RunCommand, LetsAnInstallerStartProgramsOutsideItsJob)
{
    EXPECT_EQ(run(poser("poser_breakaway")), 0) << log();
    EXPECT_TRUE(log_holds("in no job\n")) << log();
}

TEST_F(RunCommand, ReturnsTheExitCodeAndLogsWhatWasPrinted)
{
    const std::string command = poser("poser_exit") + " 7";
    EXPECT_EQ(run(command), 7);
    EXPECT_TRUE(log_holds("[info] Run command: " + command + "\n"));
    EXPECT_TRUE(log_holds("[info] Command: " + command + " returned 7: ")) << log();
    EXPECT_EQ(run(poser("poser_exit") + " 0"), 0);
}

TEST_F(RunCommand, PassesEveryKindOfArgumentUnchanged)
{
    const QStringList arguments = {"a",          "c d",          "say \"x\"",
                                   "ends\\",     "blank ends\\", "\\\"",
                                   "a\\\\\"b c", "--x=\"y z\"",  "\\\\server\\share dir\\"};
    QString command = QString::fromStdString(poser("poser_env"));
    for (const QString& argument : arguments)
        command += ' ' + command_part(argument);
    ASSERT_EQ(run_command(command).exit_code, 0);
    std::string expected;
    for (const QString& argument : arguments)
        expected += "arg " + argument.toStdString() + "\n";
    EXPECT_TRUE(log_holds(expected)) << log();
}

TEST_F(RunCommand, RunsAnInstallerInItsOwnDirectory)
{
    dir.make_dir("with blank");
    std::filesystem::copy_file(poser("poser_env"), dir / "with blank/setup.exe");
    const QString path = QString::fromStdString((dir / "with blank/setup.exe").string());
    ASSERT_EQ(run_command(command_part(path)).exit_code, 0);
    EXPECT_TRUE(log_holds("cwd " + (dir / "with blank").string() + "\n")) << log();
}

TEST_F(RunCommand, ReturnsWhenTheInstallerCannotBeStarted)
{
    EXPECT_EQ(run((dir / "none.exe").string()), -1);
    EXPECT_TRUE(log_holds("It could not be started: ")) << log();
    EXPECT_EQ(run(dir.write("plain.exe", "no program").string()), -1);
    EXPECT_EQ(run(dir.path().string()), -1);
}

TEST_F(RunCommand, ReportsTheStatusOfACrash)
{
    EXPECT_NE(run(poser("poser_crash")), 0);
    EXPECT_TRUE(log_holds("It was ended with status 0xc0000005\n")) << log();
}

TEST_F(RunCommand, HandlesMegabytesOfOutputWithPercentSigns)
{
    EXPECT_EQ(run(poser("poser_output") + " 3000000 2000000"), 0);
    EXPECT_GT(log().size(), 5000000U);
}

TEST_F(RunCommand, LeavesNoFileWithTheOutputBehind)
{
    dir.make_dir("tmp");
    const QByteArray temp = qgetenv("TMP");
    qputenv("TMP", (dir.qstr() + "/tmp").toUtf8());
    EXPECT_EQ(run(poser("poser_output") + " 100"), 0);
    EXPECT_EQ(run(poser("poser_exit") + " 7"), 7);
    qputenv("TMP", temp);
    // Wine's console of an installer inherits the file, and ends a little later than the installer.
    EXPECT_TRUE(wait_until([this] { return list_tree(dir / "tmp").empty(); }));
}

TEST_F(RunCommand, DoesNotWaitForAChildThatKeepsTheOutputOpen)
{
    // Not longer: ctest waits as well for whoever keeps the test's output open.
    const std::string script = dir.write("daemon.exe", script_with_lasting_child(30)).string();
    const STOPWATCH watch;
    EXPECT_EQ(run(script), 0);
    EXPECT_LT(watch.elapsed().wall, 30s);
}

TEST_F(RunCommand, EndsAnInstallerAtAStop)
{
    EXPECT_NE(run_and_stop(hanging_poser()), 0);
    EXPECT_TRUE(taken.within(1900ms));
    EXPECT_TRUE(log_holds("Stop requested, ending the installer"));
}

TEST_F(RunCommand, ForwardsItsCallersStopToTheInstaller)
{
    std::optional<STOPWATCH> since_stop;
    const auto is_ready = [&]
    {
        if (!since_stop && std::filesystem::exists(mark))
            since_stop.emplace();
        return since_stop.has_value();
    };
    EXPECT_NE(run_command(QString::fromStdString(hanging_poser()), is_ready).exit_code, 0);
    EXPECT_TRUE(since_stop->within(2700ms));
}

TEST_F(RunCommand, EndsTheProcessGroupOfAnInstallerThatIgnoresTheStop)
{
    EXPECT_NE(run_and_stop(hanging_poser() + " --stubborn --child"), 0);
    EXPECT_TRUE(taken.within(3400ms));
    EXPECT_TRUE(log_holds("It was ended with status 0xc000013a\n")) << log();
    const std::string text = log();
    const std::size_t at = text.find("\nchild ");
    ASSERT_NE(at, std::string::npos) << text;
    const auto number = static_cast<DWORD>(std::stoul(text.substr(at + 7)));
    const auto lives = [number]
    {
        const HANDLE child = ::OpenProcess(SYNCHRONIZE, FALSE, number);
        if (child == nullptr)
            return false;
        const bool runs = ::WaitForSingleObject(child, 0) == WAIT_TIMEOUT;
        ::CloseHandle(child);
        return runs;
    };
    EXPECT_TRUE(wait_until([&lives] { return !lives(); }));
}

TEST_F(RunCommand, EndsAfterAnEarlierStop)
{
    thr_request_stop();
    EXPECT_NE(run(poser("poser_hang")), 0);
}

TEST_F(RunCommand, StartsADetachedInstallerAndReturns)
{
    const std::string target = (dir / "inst").string();
    const std::string script = dir.write("mark.exe", install_script()).string();
    const std::string command = script + " --installdir " + target;
    std::optional<int> exit_code;
    EXPECT_TRUE(
        run_command_detached(QString::fromStdString(command), [&](int code) { exit_code = code; }));
    EXPECT_TRUE(wait_until([this] { return std::filesystem::exists(dir / "inst/install_order"); }));
    EXPECT_TRUE(log_holds("Run command: " + command));
    EXPECT_TRUE(wait_until(
        [&]
        {
            QCoreApplication::processEvents();
            return exit_code.has_value();
        }));
    EXPECT_EQ(exit_code, 0);
    EXPECT_FALSE(run_command_detached(QString::fromStdString((dir / "none").string()), [](int) {}));
}

TEST_F(RunCommand, KeepsProcessingItsCallersEvents)
{
    int seen = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&seen] { ++seen; });
    timer.start(20);
    const std::string script = dir.write("slow.exe", hanging_script()).string();
    QElapsedTimer clock;
    clock.start();
    EXPECT_NE(run_command(QString::fromStdString(script),
                          [&] { return seen > 5 || clock.hasExpired(long_enough.count()); })
                  .exit_code,
              0);
    EXPECT_GT(seen, 5);
}

TEST(RunCommandDeathTest, AssertsANonEmptyCommand)
{
    EXPECT_DEATH(run_command(""), "Assertion failed: !isEmpty\\(\\)");
}
