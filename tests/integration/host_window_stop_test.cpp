#include "tests/integration/host_fixture.h"

#include "install/vinst/base/vinst_text.h"
#include "tests/harness/run_files.h"
#include "tests/harness/stopwatch.h"
#include "tests/harness/wait_until.h"
#include "tests/harness/window_driver.h"

#include <QSettings>
#include <QUrl>

#include <csignal>
#include <functional>
#include <random>
#include <thread>

namespace
{

using STEPS = std::vector<std::string>;

const std::string main_window = "window:VINST_DOWNLOADER_DLG";

/// The graphical host as a separate process that is stopped by a signal in different states.
class HostWindowStop : public HostTest
{
protected:
    HostWindowStop()
    {
        store("vinst_downloader_download_dir", qt(dir / "dl"));
        store("vinst_downloader_install_dir", qt(dir / "inst"));
        store("vinst_downloader_auto_install", false);
        // The log is moved to this directory.
        std::filesystem::create_directories(dir / "dl");
    }

    static QString qt(const std::filesystem::path& path)
    {
        return QString::fromStdString(path.string());
    }

    /// The settings of the host's user.
    void with_settings(const std::function<void(QSettings&)>& act) const
    {
        QSettings settings(qt(dir / "home/.config/Orvane/vinst.conf"), QSettings::IniFormat);
        settings.beginGroup(QString::fromLatin1(QUrl::toPercentEncoding(program_title(), " ")));
        act(settings);
    }
    void store(const QString& key, const QVariant& value) const
    {
        with_settings([&](QSettings& settings) { settings.setValue(key, value); });
    }
    bool is_stored(const QString& key) const
    {
        bool found = false;
        with_settings([&](const QSettings& settings) { found = settings.contains(key); });
        return found;
    }

    CHILD_SETUP window_setup(const STEPS& steps, const ARGUMENTS& arguments = {},
                             const std::string& name = "vinst_gui") const
    {
        CHILD_SETUP host = setup(arguments, name);
        drive_windows(host, steps);
        return host;
    }

    /// Starts the host and returns after the last step.
    std::unique_ptr<CHILD_PROCESS> start(const STEPS& steps) const
    {
        auto child = std::make_unique<CHILD_PROCESS>(window_setup(steps));
        EXPECT_TRUE(child->wait_for_output(all_steps_taken, 30s)) << child->errors();
        return child;
    }

    static void expect_end_by(CHILD_PROCESS& child, int signal_number)
    {
        child.send_signal(signal_number);
        const STOPWATCH since_signal;
        const auto ended = child.wait(20s);
        ASSERT_TRUE(ended) << "the program did not end";
        EXPECT_TRUE(since_signal.within(2s));
        EXPECT_EQ(ended->signal, signal_number) << ended->exit_code;
    }

    void expect_orderly_end(CHILD_PROCESS& child, int signal_number = SIGTERM) const
    {
        EXPECT_FALSE(is_stored("FrameGeometry"));
        expect_end_by(child, signal_number);
        expect_log_kept();
        EXPECT_TRUE(is_stored("FrameGeometry")) << "the settings weren't saved";
    }

    std::uintmax_t size_of(const std::string& name) const { return size_of_file(dir / name); }

    /// A release whose installer ignores requests to end and runs on.
    void publish_stubborn_installer()
    {
        builder.component("a").content("#!/bin/sh\ntrap '' INT TERM HUP\necho $$ > '" +
                                       (dir / "installer").string() + "'\nwhile [ -e '" +
                                       dir.path().string() + "' ]; do sleep 0.05; done\n");
        publish();
        store("vinst_downloader_auto_install", true);
    }
    const STEPS start_installation{main_window, "click:m_agree_license_checkbox",
                                   "click:m_download_button"};

    pid_t installer() const
    {
        EXPECT_TRUE(wait_until([this] { return size_of("installer") > 0; }));
        return std::stoi(read_file(dir / "installer"));
    }
};

}

TEST_F(HostWindowStop, EndsAnIdleWindow)
{
    builder.component("one").pattern_content(3000, 1);
    publish();
    for (const int signal_number : {SIGINT, SIGTERM, SIGHUP})
    {
        with_settings([](QSettings& settings) { settings.remove("FrameGeometry"); });
        const auto child = start({main_window});
        expect_orderly_end(*child, signal_number);
    }
    EXPECT_FALSE(std::filesystem::exists(dir / "dl/one.run"));
}

TEST_F(HostWindowStop, EndsAWindowOfTheConsoleHost)
{
    builder.component("one");
    publish();
    CHILD_PROCESS child(window_setup({main_window}, {"--gui"}, "vinst"));
    ASSERT_TRUE(child.wait_for_output(all_steps_taken, 30s)) << child.errors();
    expect_orderly_end(child);
}

TEST_F(HostWindowStop, EndsADownloadAndKeepsPartialFiles)
{
    builder.component("one").pattern_content(3'000'000, 1);
    publish();
    server.set_faults("/one.run", {FAULT::trickle(1000, 20ms)});
    const auto child = start({main_window, "click:m_download_button"});
    ASSERT_TRUE(wait_until([this] { return size_of("dl/one.run") >= 4000; }));
    expect_orderly_end(*child);
    EXPECT_NE(log().find("[info] Download stopped\n"), std::string::npos) << log();
    const std::string bytes = dir.read("dl/one.run");
    EXPECT_EQ(bytes, read_file(builder.file("one").path).substr(0, bytes.size()));
}

TEST_F(HostWindowStop, EndsTheConnectionTestOfADownload)
{
    builder.component("one");
    publish();
    server.set_faults("/test.txt", {FAULT::stall_before_headers()});
    const auto child = start({main_window, "click:m_download_button"});
    ASSERT_TRUE(server.wait_for_requests("/test.txt", 1, 20s));
    expect_orderly_end(*child);
}

TEST_F(HostWindowStop, EndsTheInstaller)
{
    publish_stubborn_installer();
    const auto child = start(start_installation);
    const pid_t process = installer();
    expect_orderly_end(*child);
    EXPECT_NE(log().find("Stop requested, ending the installer"), std::string::npos) << log();
    EXPECT_NE(::kill(process, 0), 0) << "the installer is still running";
}

TEST_F(HostWindowStop, EndsTheProcessImmediatelyTheSecondTime)
{
    publish_stubborn_installer();
    const auto child = start(start_installation);
    const pid_t process = installer();
    child->send_signal(SIGTERM);
    ASSERT_TRUE(
        wait_until([this] { return temporary_log_holds("Stop requested, ending the installer"); }));
    const STOPWATCH since_signal;
    child->send_signal(SIGTERM);
    const auto ended = child->wait(10s);
    ASSERT_TRUE(ended);
    EXPECT_TRUE(since_signal.within(700ms));
    EXPECT_EQ(ended->signal, SIGTERM);
    ::kill(-process, SIGKILL);
}

TEST_F(HostWindowStop, CountsAsNoToAQuestion)
{
    builder.component("one").pattern_content(3000, 1);
    publish();
    store("vinst_downloader_auto_install", true);
    const auto child = start({main_window, "click:m_download_button", "window:QMessageBox"});
    expect_orderly_end(*child);
    EXPECT_EQ(server.request_count(), 0U);
}

TEST_F(HostWindowStop, ClosesTheBoxAfterARun)
{
    builder.component("one").pattern_content(3000, 1);
    publish();
    const auto child = start({main_window, "click:m_download_button", "window:QMessageBox"});
    expect_orderly_end(*child);
    EXPECT_NE(log().find("[info] Download successful\n"), std::string::npos) << log();
}

TEST_F(HostWindowStop, ClosesTheBoxThatRefusesToClose)
{
    builder.component("one").pattern_content(3'000'000, 1);
    publish();
    server.set_faults("/one.run", {FAULT::trickle(1000, 20ms)});
    const auto child = start({main_window, "click:m_download_button", "close:VINST_DOWNLOADER_DLG",
                              "window:QMessageBox"});
    expect_orderly_end(*child);
}

TEST_F(HostWindowStop, ClosesTheSettings)
{
    builder.component("one");
    publish();
    const auto child = start({main_window, "click:m_settings_button", "window:VINST_SETTINGS_DLG"});
    expect_orderly_end(*child);
    EXPECT_FALSE(is_stored("vinst_retry_duration")) << "the settings were accepted";
}

TEST_F(HostWindowStop, ClosesTheSettingsDuringAConnectionTest)
{
    builder.component("one");
    publish();
    server.set_faults("/test.txt", {FAULT::stall_before_headers()});
    const auto child =
        start({main_window, "click:m_settings_button", "click:m_test_internet_connection_btn"});
    ASSERT_TRUE(server.wait_for_requests("/test.txt", 1, 20s));
    expect_orderly_end(*child);
}

TEST_F(HostWindowStop, ClosesAFileDialog)
{
    builder.component("one");
    publish();
    const auto child = start({main_window, "click:m_browse_button", "window:QFileDialog"});
    expect_orderly_end(*child);
}

TEST_F(HostWindowStop, ClosesTheLog)
{
    builder.component("one");
    publish();
    const auto child = start({main_window, "click:m_log_button", "window:VINST_LOG_VIEWER_DLG"});
    expect_orderly_end(*child);
}

TEST_F(HostWindowStop, AsksForNoFeedbackAndClosesThePromptThatDoes)
{
    builder.component("one");
    publish();
    const auto child = start({main_window, "close:VINST_DOWNLOADER_DLG", "window:QMessageBox"});
    expect_orderly_end(*child);
    EXPECT_FALSE(is_stored("vinst_never_ask_feedback"));
}

TEST_F(HostWindowStop, ClosesTheBoxThatExplainsWhyNoWindowOpens)
{
    manifest = (dir / "none.json").string();
    const auto child = start({"window:QMessageBox"});
    expect_end_by(*child, SIGTERM);
    expect_nothing_left_behind();
}

TEST_F(HostWindowStop, EndsTheHostDuringStartup)
{
    builder.component("one").pattern_content(3000, 1);
    publish();
    dir.write("dl/one.run", read_file(builder.file("one").path));
    std::mt19937 random(7);
    std::uniform_int_distribution<int> delay(0, 300); // ms
    for (int i = 0; i < 20; ++i)
    {
        CHILD_PROCESS child(window_setup({main_window}));
        std::this_thread::sleep_for(std::chrono::milliseconds(delay(random)));
        expect_end_by(child, i % 2 == 0 ? SIGTERM : SIGINT);
        expect_nothing_left_behind();
    }
}

TEST_F(HostWindowStop, IgnoresSignalsThatTheHostsParentIgnores)
{
    builder.component("one");
    publish();
    CHILD_SETUP nohup = window_setup({main_window});
    nohup.arguments = {"-c", "trap '' HUP; exec \"$0\"", nohup.program.string()};
    nohup.program = "/bin/sh";
    CHILD_PROCESS child(nohup);
    ASSERT_TRUE(child.wait_for_output(all_steps_taken, 30s)) << child.errors();
    child.send_signal(SIGHUP);
    expect_orderly_end(child, SIGTERM);
}

TEST_F(HostWindowStop, NeedsNoStandardStreams)
{
    builder.component("one");
    publish();
    using STREAMS = std::set<int>;
    for (const STREAMS& streams : {STREAMS{0}, {1}, {2}, {0, 1}, {0, 2}, {1, 2}, {0, 1, 2}})
    {
        with_settings([](QSettings& settings) { settings.remove("FrameGeometry"); });
        std::filesystem::remove(log_path());
        CHILD_SETUP host = window_setup({main_window});
        host.closed_streams = streams;
        CHILD_PROCESS child(host);
        ASSERT_TRUE(wait_until([this] { return temporary_log_holds("Welcome to the"); }));
        expect_orderly_end(child);
    }
}
