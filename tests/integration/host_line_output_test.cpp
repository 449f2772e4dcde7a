#include "tests/integration/host_fixture.h"

#include "tests/harness/installer_scripts.h"
#include "tests/harness/wait_until.h"

#include <gmock/gmock.h>

#include <regex>
#include <sstream>

namespace
{

using LINES = std::vector<std::string>;

/// Runs with --no-redraw.
class HostLineOutput : public HostTest
{
protected:
    /// The lines of a text, without the times that they must begin with.
    static LINES events_in(const std::string& text)
    {
        static const std::regex time(R"(^\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2} )");
        EXPECT_EQ(text.find('\x1b'), std::string::npos) << text;
        LINES events;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);)
        {
            EXPECT_TRUE(std::regex_search(line, time)) << line;
            events.push_back(std::regex_replace(line, time, ""));
        }
        return events;
    }

    /// Index of the first line that begins with the text, counted from `start`.
    static std::size_t find(const LINES& events, const std::string& text, std::size_t start = 0)
    {
        for (std::size_t i = start; i < events.size(); ++i)
            if (events[i].rfind(text, 0) == 0)
                return i;
        ADD_FAILURE() << "no line begins with " << text;
        return events.size();
    }
};

}

TEST_F(HostLineOutput, HasOneLineWithATimePerEvent)
{
    builder.component("one").title("One").standalone().content(install_script());
    builder.component("two").title("Two").standalone().content(install_script());
    publish();
    server.set_faults("/two.run", {FAULT::status(503).times(1)});
    run(run_arguments({"--no-redraw", "--install-dir", installed(), "--accept-eula"}));
    EXPECT_TRUE(result.exited_with(0));
    EXPECT_EQ(errors, "");
    const LINES events = events_in(output);
    EXPECT_EQ(events[0], "Testing internet connection without a proxy ...");
    std::size_t at = 0;
    for (const char* event :
         {"Test download -> success", "Platform selected: ", "Start download ...",
          "Two: Error: The requested URL returned error: 503, Httpcode: 503, Curlcode: 22",
          "Checking file integrity ...", "Download failed",
          "Two (http://127.0.0.1:", "Retrying #1 after 5 secs ...", "Two: verified",
          "Download successful", "Do install ...", "Installation completed successfully"})
        at = find(events, event, at);
    EXPECT_THAT(events, ::testing::Contains("One: verified").Times(1));
    EXPECT_EQ(at + 1, events.size());
}

TEST_F(HostLineOutput, IsTheSameOnATerminal)
{
    builder.component("one").title("One").pattern_content(300'000, 1);
    publish();
    CHILD_SETUP terminal = setup(run_arguments({"--no-redraw"}));
    terminal.terminal = CHILD_TERMINAL{};
    CHILD_PROCESS child(terminal);
    ASSERT_TRUE(child.wait(long_enough));
    const LINES events = events_in(std::regex_replace(child.output(), std::regex("\r\n"), "\n"));
    find(events, "One: verified");
    find(events, "Total downloaded: 292.97 KB / 292.97 KB");
    EXPECT_EQ(events.back(), "Download successful");
}

TEST_F(HostLineOutput, AppliesToTheConnectionTest)
{
    publish();
    run({"--no-redraw", "--test-download"});
    EXPECT_EQ(events_in(output), (LINES{"Testing internet connection without a proxy ...",
                                        "Test download -> success"}));
}
