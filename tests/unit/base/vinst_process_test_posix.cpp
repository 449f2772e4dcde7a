#include "install/vinst/base/vinst_process.h"

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_platform.h"
#include "support/thr/thr_sleep.h"
#include "tests/harness/installer_scripts.h"
#include "tests/harness/open_descriptor.h"
#include "tests/harness/stop_request.h"
#include "tests/harness/stopwatch.h"
#include "tests/harness/temp_dir.h"
#include "tests/harness/wait_until.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QProcess>
#include <QTimer>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <optional>
#include <thread>

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
        return std::string(VINST_TEST_BINARY_DIR) + "/tests/posers/" + name;
    }

    int run(const std::string& command)
    {
        return run_command(QString::fromStdString(command)).exit_code;
    }

    std::string log() const { return read_file(dir / "log"); }

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

    /// Whether the process that the log names as "child NUMBER" has ended or ends soon.
    bool child_ends() const
    {
        const std::string text = log();
        const std::size_t at = text.find("\nchild ");
        if (at == std::string::npos)
            throw std::runtime_error("the log names no child");
        const std::string state =
            "/proc/" + std::to_string(std::stoi(text.substr(at + 7))) + "/stat";
        const auto lives = [&state]
        {
            std::ifstream file(state);
            std::string line;
            std::getline(file, line);
            return !line.empty() && line.find(") Z ") == std::string::npos;
        };
        return wait_until([&lives] { return !lives(); });
    }

    TEMP_DIR dir;
    const std::string mark = (dir / "ready").string();
    MEASURED_TIME taken; ///< from the stop request to the command's end
};

}

TEST_F(RunCommand, ReturnsTheExitCodeAndLogsWhatWasPrinted)
{
    const std::string command = poser("poser_exit") + " 7";
    EXPECT_EQ(run(command), 7);
    EXPECT_TRUE(log_holds("[info] Run command: " + command + "\n"));
    EXPECT_TRUE(log_holds("[info] Command: " + command + " returned 7: "));
    EXPECT_EQ(run(poser("poser_exit") + " 0"), 0);
}

TEST_F(RunCommand, SaysHowAFailedInstallerEnded)
{
    const VINST_COMMAND_RESULT good =
        run_command(QString::fromStdString(poser("poser_exit") + " 0"));
    EXPECT_TRUE(good.cause.isEmpty());
    EXPECT_TRUE(good.last_lines.isEmpty());
    const std::string script =
        dir.write("fail", "#!/bin/sh\nseq 12\nprintf '\\n\\033[1mend\\r\\n'\nexit 5\n", 0755);
    const VINST_COMMAND_RESULT failed = run_command(QString::fromStdString(script));
    EXPECT_EQ(failed.exit_code, 5);
    EXPECT_EQ(failed.cause, "It exited with code 5");
    EXPECT_EQ(failed.last_lines, QStringList({"4", "5", "6", "7", "8", "9", "10", "11", "12",
                                              QString(QChar::ReplacementCharacter) + "[1mend"}));
}

TEST_F(RunCommand, ShowsTheEndOfALongOutputOnly)
{
    const std::string long_line(10'000, 'x');
    const std::string path =
        dir.write("output", long_line + "\n" + long_line + "\nlast\n").string();
    EXPECT_EQ(last_lines_of(QString::fromStdString(path)),
              QStringList({QString(200, 'x'), "last"}));
    EXPECT_EQ(last_lines_of(QString::fromStdString((dir / "none").string())), QStringList());
    dir.write("output", std::string("before\0\nat 1%\rat 2%\rfatal\n", 26));
    EXPECT_EQ(last_lines_of(QString::fromStdString(path)),
              QStringList({"before\ufffd", "at 1%", "at 2%", "fatal"}));
    dir.write("output", std::string(20'000, '.') + "fatal");
    EXPECT_EQ(last_lines_of(QString::fromStdString(path)),
              QStringList(QString(195, '.') + "fatal"));
}

TEST_F(RunCommand, PassesQuotedPartsAsOneArgument)
{
    dir.make_dir("with blank");
    const std::string script =
        dir.write("with blank/args.sh", "#!/bin/sh\nprintf '<%s>' \"$@\"\n", 0755).string();
    const QString command = command_part(QString::fromStdString(script)) + " --a  b " +
                            command_part("c d") + ' ' + command_part("say \"x\"");
    EXPECT_EQ(run_command(command).exit_code, 0);
    EXPECT_TRUE(log_holds("<--a><b><c d><say \"x\">")) << log();
}

TEST_F(RunCommand, PassesPartsWithoutBlanksUnchanged)
{
    EXPECT_EQ(command_part("/a/b.run"), "/a/b.run");
    EXPECT_EQ(command_part("/a b"), "\"/a b\"");
    EXPECT_EQ(command_part("a\"b"), "\"a\"\"\"b\"");
    EXPECT_EQ(QProcess::splitCommand(command_part("a \"b\" c\"")), QStringList{"a \"b\" c\""});
}

TEST_F(RunCommand, ReturnsWhenTheInstallerCannotBeStarted)
{
    EXPECT_NE(run((dir / "none").string()), 0);
    EXPECT_TRUE(log_holds("It could not be started: ")) << log();
    const std::string plain = dir.write("plain.run", "#!/bin/sh\n", 0644).string();
    EXPECT_NE(run(plain), 0);
    EXPECT_NE(run(dir.path().string()), 0);
    const std::string odd = dir.write("odd.run", "\x7f not a program", 0755).string();
    EXPECT_NE(run(odd), 0);
}

TEST_F(RunCommand, ReportsTheSignalOfACrash)
{
    EXPECT_NE(run(poser("poser_crash")), 0);
    EXPECT_TRUE(log_holds("It was ended by signal 11")) << log();
}

TEST_F(RunCommand, HandlesMegabytesOfOutputWithPercentSigns)
{
    EXPECT_EQ(run(poser("poser_output") + " 3000000 2000000"), 0);
    const std::string text = log();
    EXPECT_GT(text.size(), 5000000U);
    EXPECT_NE(text.find('%'), std::string::npos);
}

TEST_F(RunCommand, DoesNotWaitForAChildThatKeepsTheOutputOpen)
{
    const std::string script =
        dir.write("daemon.run", script_with_lasting_child(300), 0755).string();
    const STOPWATCH watch;
    EXPECT_EQ(run(script), 0);
    EXPECT_LT(watch.elapsed().wall, 300s);
}

TEST_F(RunCommand, GivesTheInstallerEmptyInput)
{
    const std::string script =
        dir.write("ask.run", "#!/bin/sh\nread answer || echo nothing to read\n", 0755).string();
    run(script);
    EXPECT_TRUE(log_holds("nothing to read"));
}

TEST_F(RunCommand, ForwardsAStopToTheInstaller)
{
    EXPECT_NE(run_and_stop(hanging_poser()), 0);
    EXPECT_TRUE(taken.within(1200ms));
    EXPECT_TRUE(log_holds("Stop requested, ending the installer"));
    EXPECT_TRUE(log_holds("It was ended by signal 15"));
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
    EXPECT_EQ(run_command(QString::fromStdString(hanging_poser()), is_ready).exit_code,
              128 + SIGTERM);
    EXPECT_TRUE(since_stop->within(1700ms));
}

TEST_F(RunCommand, EndsAnInstallerThatIgnoresTheStop)
{
    EXPECT_NE(run_and_stop(hanging_poser() + " --stubborn --child"), 0);
    EXPECT_TRUE(taken.within(2200ms));
    EXPECT_TRUE(log_holds("It was ended by signal 9"));
}

TEST_F(RunCommand, EndsAfterAnEarlierStop)
{
    thr_request_stop();
    EXPECT_EQ(run(poser("poser_hang")), 128 + SIGTERM) << "SIGTERM comes before SIGKILL";
}

TEST_F(RunCommand, ReportsTheLastLineOfTheOutputWhileItRuns)
{
    const std::string script =
        dir.write("talk.run",
                  "#!/bin/sh\necho first\nprintf 'second\\n\\n'\nwhile [ ! -e \"$1\" ] "
                  "&& [ -e \"$0\" ]; do sleep 0.01; done\n",
                  0755)
            .string();
    QStringList lines;
    const auto on_output = [&](const QString& line)
    {
        lines.append(line);
        write_file(mark, "");
    };
    EXPECT_EQ(run_command(QString::fromStdString(script + " " + mark), {}, on_output).exit_code, 0);
    EXPECT_EQ(lines, QStringList("second"));
}

TEST_F(RunCommand, StartsADetachedInstallerAndReturns)
{
    const std::string script =
        dir.write("mark.run", "#!/bin/sh\necho x > \"$1\"\nexit 7\n", 0755).string();
    std::optional<int> exit_code;
    EXPECT_TRUE(run_command_detached(QString::fromStdString(script + " " + mark),
                                     [&](int code) { exit_code = code; }));
    EXPECT_FALSE(exit_code);
    EXPECT_TRUE(wait_until([this] { return std::filesystem::exists(mark); }));
    EXPECT_TRUE(log_holds("Run command: " + script + " " + mark));
    EXPECT_TRUE(wait_until(
        [&]
        {
            QCoreApplication::processEvents();
            return exit_code.has_value();
        }));
    EXPECT_EQ(exit_code, 7);
    EXPECT_FALSE(run_command_detached(QString::fromStdString((dir / "none").string()), [](int) {}));
}

TEST_F(RunCommand, LetsInstallersInheritOnlyTheStandardStreams)
{
    const OPEN_DESCRIPTOR of_the_host;
    survive_closed_pipes();
    EXPECT_EQ(run(poser("poser_inherit")), 0);
    EXPECT_TRUE(log_holds("descriptors 0 1 2\nend\n")) << log();
    EXPECT_TRUE(run_command_detached(QString::fromStdString(poser("poser_inherit") + " " + mark),
                                     [](int) {}));
    const auto is_complete = [this]
    { return std::filesystem::exists(mark) && read_file(mark).find("end\n") != std::string::npos; };
    ASSERT_TRUE(wait_until(is_complete));
    EXPECT_EQ(read_file(mark), "descriptors 0 1 2\nend\n");
}

TEST(RunCommandDeathTest, AssertsANonEmptyCommand)
{
    EXPECT_DEATH(run_command(""), "Assertion failed: !isEmpty\\(\\)");
}

TEST_F(RunCommand, SurvivesEveryKindOfBlankAndQuote)
{
    // All texts of up to five of these characters, as a part between two other parts.
    const QString letters = QStringLiteral("a \t\n\"\u00a0\u3000\\");
    for (int length = 1; length <= 5; ++length)
    {
        int count = 1;
        for (int i = 0; i < length; ++i)
            count *= letters.size();
        for (int code = 0; code < count; ++code)
        {
            QString text;
            for (int rest = code, i = 0; i < length; ++i, rest /= letters.size())
                text += letters[rest % letters.size()];
            ASSERT_EQ(QProcess::splitCommand("run " + command_part(text) + " end"),
                      (QStringList{"run", text, "end"}))
                << code;
        }
    }
}

TEST_F(RunCommand, UsesTheErrorCodesOfShells)
{
    const auto code_of = [this](const std::string& name, const std::string& text)
    { return run(dir.write(name, text, 0755).string()); };
    EXPECT_EQ(run((dir / "none").string()), -1);
    EXPECT_EQ(code_of("killed.run", crashing_script(SIGKILL)), 137);
    EXPECT_TRUE(log_holds("returned 137: It was ended by signal 9\n")) << log();
    EXPECT_EQ(code_of("faulty.run", crashing_script(SIGSEGV)), 139);
    EXPECT_TRUE(log_holds("returned 139: It was ended by signal 11\n")) << log();
    EXPECT_EQ(code_of("full.run", "#!/bin/sh\nexit 255\n"), 255);
}

TEST_F(RunCommand, LogsBothOutputsCompletelyAndInOrder)
{
    const std::string script =
        dir.write("both.run", "#!/bin/sh\necho one%s\necho two%n >&2\nprintf 'three 100%%'\n", 0755)
            .string();
    EXPECT_EQ(run(script), 0);
    EXPECT_TRUE(log_holds("Command: " + script + " returned 0: one%s\ntwo%n\nthree 100%\n"))
        << log();
}

TEST_F(RunCommand, LogsEveryLineOfALongOutput)
{
    EXPECT_EQ(run(dir.write("talk.run", talking_script(20000), 0755).string()), 0);
    const std::string text = log();
    for (const int line : {0, 1, 9999, 19999})
    {
        const std::string words = "line " + std::to_string(line) + " of 100%s\n";
        const std::size_t first = text.find(words);
        ASSERT_NE(first, std::string::npos) << line;
        EXPECT_NE(text.find(words, first + 1), std::string::npos) << line;
    }
}

TEST_F(RunCommand, AcceptsOutputThatIsNotText)
{
    const std::string script =
        dir.write("bytes.run", "#!/bin/sh\nprintf 'a\\000\\377\\376b\\n'\nexit 3\n", 0755).string();
    EXPECT_EQ(run(script), 3);
    EXPECT_TRUE(log_holds(std::string("returned 3: a\0\xff\xfe", 16) + "b\n")) << log();
}

TEST_F(RunCommand, LeavesNothingInTheTemporaryDirectory)
{
    dir.make_dir("tmp");
    qputenv("TMPDIR", (dir.qstr() + "/tmp").toUtf8());
    EXPECT_EQ(run(poser("poser_output") + " 100000 1000"), 0);
    EXPECT_NE(run((dir / "none").string()), 0);
    qunsetenv("TMPDIR");
    EXPECT_EQ(list_tree(dir / "tmp"), std::vector<std::string>{});
}

TEST_F(RunCommand, RunsWithoutATemporaryDirectory)
{
    qputenv("TMPDIR", "/none/such");
    EXPECT_EQ(run(poser("poser_exit") + " 7"), 7);
    qunsetenv("TMPDIR");
    EXPECT_TRUE(log_holds(" returned 7: \n")) << log();
}

TEST_F(RunCommand, KeepsProcessingItsCallersEvents)
{
    // The installer waits for a file that only an event of this thread creates.
    const std::string script =
        dir.write("wait.run",
                  "#!/bin/sh\ni=0\nwhile [ ! -e \"$1\" ]; do\n  i=$((i + 1))\n"
                  "  [ $i -gt 3000 ] && exit 1\n  sleep 0.02\ndone\nexit 0\n",
                  0755)
            .string();
    QTimer::singleShot(50, [this] { write_file(mark, "x"); });
    EXPECT_EQ(run(script + " " + mark), 0);
}

TEST_F(RunCommand, EndsTheProcessGroupOfAnInstallerThatIgnoresTheStop)
{
    EXPECT_EQ(run_and_stop(hanging_poser() + " --stubborn --child"), 137);
    EXPECT_TRUE(child_ends()) << log();
}

TEST_F(RunCommand, EndsTheChildrenOfAnInstallerThatStops)
{
    const std::string script = dir.write("setup.run",
                                         "#!/bin/sh\nsh -c 'trap \"\" TERM; echo \"child $$\"; : > "
                                         "\"$1\"; while :; do sleep 0.05; done' sh " +
                                             mark +
                                             " &\n"
                                             "while :; do sleep 0.05; done\n",
                                         0755)
                                   .string();
    EXPECT_EQ(run_and_stop(script), 143);
    EXPECT_TRUE(child_ends()) << log();
}

TEST_F(RunCommand, ReturnsTheCodeOfAnInstallerThatStops)
{
    const std::string script =
        dir.write("tidy.run",
                  "#!/bin/sh\ntrap 'echo tidied up; exit 5' TERM\n: > " + mark +
                      "\n"
                      "while :; do sleep 0.05; done\n",
                  0755)
            .string();
    EXPECT_EQ(run_and_stop(script), 5);
    EXPECT_TRUE(log_holds(" returned 5: ")) << log();
    EXPECT_TRUE(log_holds("tidied up\n")) << log();
}

TEST(RunCommandDeathTest, AssertsANonEmptyDetachedCommand)
{
    EXPECT_DEATH(static_cast<void>(run_command_detached("  ", [](int) {})),
                 "Assertion failed: !isEmpty\\(\\)");
}
