#include "tests/harness/child_process.h"
#include "tests/harness/pattern.h"
#include "tests/harness/temp_dir.h"
#include "tests/harness/wait_until.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <csignal>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <future>
#include <memory>
#include <stdexcept>
#include <utility>

using namespace std::chrono_literals;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace
{

const std::filesystem::path release_tool =
    std::filesystem::path(VINST_TEST_BINARY_DIR) / "bin/vinst_release";

struct TOOL_RUN
{
    int exit_code = -1;
    std::string output;
    std::string errors;
};

TOOL_RUN run_release_tool(const std::vector<std::string>& arguments)
{
    CHILD_SETUP setup;
    setup.program = release_tool;
    setup.arguments = arguments;
    CHILD_PROCESS child(setup);
    const auto result = child.wait(long_enough);
    if (!result)
        throw std::runtime_error("vinst_release did not end");
    return {result->exit_code, child.output(), child.errors()};
}

/// A raw connection to a port of 127.0.0.1, so that no client library normalizes what the test
/// sends.
class RAW_CONNECTION final
{
public:
    explicit RAW_CONNECTION(int port) : m_socket(socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const timeval limit = {20, 0};
        setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        if (connect(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
            throw std::runtime_error("cannot connect");
    }
    ~RAW_CONNECTION() { close(m_socket); }
    RAW_CONNECTION(const RAW_CONNECTION&) = delete;
    RAW_CONNECTION& operator=(const RAW_CONNECTION&) = delete;

    void send_text(const std::string& text) const
    {
        if (send(m_socket, text.data(), text.size(), MSG_NOSIGNAL) !=
            static_cast<ssize_t>(text.size()))
            throw std::runtime_error("cannot send");
    }

    /// Receives until the text has arrived or the server closes; returns what was received.
    const std::string& receive_until(const std::string& text)
    {
        while (m_received.find(text) == std::string::npos && receive())
        {
        }
        return m_received;
    }

    /// The response to a request that was sent since the last call: its head, and its body up to
    /// the end of this text.
    std::string receive_next(const std::string& end_of_body)
    {
        std::size_t head = std::string::npos;
        do
            head = m_received.find("\r\n\r\n");
        while ((head == std::string::npos ||
                m_received.find(end_of_body, head) == std::string::npos) &&
               receive());
        return std::exchange(m_received, {});
    }

    const std::string& receive_all()
    {
        while (receive())
        {
        }
        return m_received;
    }

private:
    bool receive()
    {
        char buffer[65536];
        const ssize_t got = recv(m_socket, buffer, sizeof buffer, 0);
        if (got > 0)
            m_received.append(buffer, static_cast<std::size_t>(got));
        return got > 0;
    }

    int m_socket;
    std::string m_received;
};

/// In bytes. Read from the running program: the figure that is available after its end includes the
/// memory of the process that started it.
std::uint64_t peak_resident_memory(pid_t pid)
{
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string key;
    for (std::string rest; status >> key; std::getline(status, rest))
    {
        std::uint64_t kib = 0;
        if (key == "VmHWM:" && status >> kib)
            return kib << 10;
    }
    throw std::runtime_error("no memory figure");
}

struct ANSWER
{
    std::string head;
    std::string body;
};

ANSWER split_answer(const std::string& text)
{
    const std::size_t end = text.find("\r\n\r\n");
    if (end == std::string::npos)
        throw std::runtime_error("incomplete response: " + text);
    return {text.substr(0, end + 2), text.substr(end + 4)};
}

class ReleaseServer : public testing::Test
{
protected:
    void serve(const std::vector<std::string>& options = {})
    {
        CHILD_SETUP setup;
        setup.program = release_tool;
        setup.arguments = {"serve", (m_dir / "served").string()};
        setup.arguments.insert(setup.arguments.end(), options.begin(), options.end());
        m_server = std::make_unique<CHILD_PROCESS>(setup);
        ASSERT_TRUE(m_server->wait_for_output("\n", long_enough)) << m_server->errors();
        const std::string line = m_server->output();
        ASSERT_THAT(line, StartsWith("http://127.0.0.1:"));
        m_port = std::stoi(line.substr(line.rfind(':') + 1));
    }

    /// One request on a separate connection.
    ANSWER ask(const std::string& method, const std::string& path, const std::string& header = "")
    {
        RAW_CONNECTION connection(m_port);
        connection.send_text(method + ' ' + path + " HTTP/1.1\r\nHost: x\r\nConnection: close\r\n" +
                             header + "\r\n");
        return split_answer(connection.receive_all());
    }

    ANSWER get(const std::string& path, const std::string& header = "")
    {
        return ask("GET", path, header);
    }

    TEMP_DIR m_dir;
    std::unique_ptr<CHILD_PROCESS> m_server;
    int m_port = 0;
};

}

TEST(ReleaseTool, ListsItsCommands)
{
    const TOOL_RUN run = run_release_tool({"--help"});
    EXPECT_EQ(run.exit_code, 0);
    EXPECT_THAT(run.output,
                AllOf(StartsWith("Usage: vinst_release COMMAND [arguments...]\n"),
                      HasSubstr("\n  make DESCRIPTION OUT "),
                      HasSubstr("\n  check MANIFEST [DIR] "), HasSubstr("\n  serve DIR "),
                      HasSubstr("\n  mirror MANIFEST DIR ")));
    EXPECT_EQ(run.errors, "");
}

TEST(ReleaseTool, PrintsUsageForEachCommand)
{
    EXPECT_THAT(run_release_tool({"make", "--help"}).output,
                AllOf(StartsWith("Usage: vinst_release make DESCRIPTION OUT [options...]\n"),
                      HasSubstr("--download-url URL")));
    EXPECT_THAT(run_release_tool({"check", "--help"}).output,
                StartsWith("Usage: vinst_release check MANIFEST [DIR]\n"));
    EXPECT_THAT(run_release_tool({"serve", "--help"}).output,
                AllOf(StartsWith("Usage: vinst_release serve DIR [options...]\n"),
                      HasSubstr("--port N"), HasSubstr("--rate BYTES"),
                      HasSubstr("--address ADDRESS")));
    EXPECT_THAT(run_release_tool({"mirror", "--help"}).output,
                AllOf(StartsWith("Usage: vinst_release mirror MANIFEST DIR [options...]\n"),
                      HasSubstr("--platform P"), HasSubstr("--components A,B"),
                      HasSubstr("--url URL"), HasSubstr("--retry-duration MINUTES")));
}

TEST(ReleaseTool, RefusesInvalidArguments)
{
    struct CASE
    {
        std::vector<std::string> arguments;
        std::string first_line;
    };
    const std::vector<CASE> cases = {
        {{}, "vinst_release: a command is missing\n"},
        {{"chekc"}, "vinst_release: unknown command 'chekc'; did you mean 'check'?\n"},
        {{"make", "only"}, "vinst_release: make needs more arguments\n"},
        {{"check"}, "vinst_release: check needs more arguments\n"},
        {{"check", "a", "b", "c"}, "vinst_release: check takes no argument 'c'\n"},
        {{"serve", ".", "--prot", "1"}, "vinst_release: unrecognised option '--prot'\n"},
        {{"serve", ".", "--port", "65536"},
         "vinst_release: --port must be a number from 0 to 65535\n"},
        {{"serve", ".", "--port", "-1"},
         "vinst_release: --port must be a number from 0 to 65535\n"},
        {{"serve", ".", "--rate", "-5"}, "vinst_release: --rate must be a whole number of bytes\n"},
        {{"serve", ".", "--rate", "5x"}, "vinst_release: --rate must be a whole number of bytes\n"},
        {{"make", "a", "b", "--download-url", "ftp://x"},
         "vinst_release: --download-url must begin with http:// or https://\n"},
    };
    for (const CASE& bad : cases)
    {
        const TOOL_RUN run = run_release_tool(bad.arguments);
        EXPECT_EQ(run.exit_code, 2) << bad.first_line;
        EXPECT_THAT(run.errors, StartsWith(bad.first_line));
        EXPECT_THAT(run.errors, HasSubstr("--help describes its usage\n"));
        EXPECT_EQ(run.output, "");
    }
}

TEST(ReleaseTool, MakesAReleaseThatPassesItsCheck)
{
    const TEMP_DIR dir;
    dir.write("base.run", pattern(5000000));
    dir.write("description.json", R"({"edition": "pro", "version": "5.2.0.31",
        "components": [{"name": "base", "platform": "linux", "file": "base.run",
                        "selected": true}]})");
    const std::string out = (dir / "out").string();
    const std::vector<std::string> make = {"make", (dir / "description.json").string(), out,
                                           "--download-url", "https://d.example/5.2/"};
    TOOL_RUN run = run_release_tool(make);
    EXPECT_EQ(run.exit_code, 0);
    EXPECT_EQ(run.output, "Made a release of 1 component and 1 file, 4.77 MB, in " + out +
                              "\nFiles copied: 1, already there: 0\n");
    EXPECT_EQ(run.errors, "");
    EXPECT_THAT(dir.read("out/manifest.json"), HasSubstr("\"https://d.example/5.2\""));

    run = run_release_tool(make);
    EXPECT_THAT(run.output, HasSubstr("\nFiles copied: 0, already there: 1\n"));

    run = run_release_tool({"check", out + "/manifest.json", out});
    EXPECT_EQ(run.exit_code, 0);
    EXPECT_EQ(run.output, "1 component, 2 files read, 0 faults\n");

    dir.write("out/base.run", pattern(4999999));
    run = run_release_tool({"check", out + "/manifest.json", out});
    EXPECT_EQ(run.exit_code, 1);
    EXPECT_THAT(run.output,
                AllOf(StartsWith("component 'base' (linux): its file 'base.run' has 4999999 "
                                 "bytes, not 5000000\n"),
                      HasSubstr("\n1 component, 2 files read, 3 faults\n")));
}

TEST(ReleaseTool, ReportsEveryFaultOfADescription)
{
    const TEMP_DIR dir;
    dir.write("description.json", R"({"edition": "pro", "version": "5.2", "components": [
        {"name": "a", "platform": "linux", "file": "none.run"},
        {"name": "b", "platform": "linux", "fiel": "x"}]})");
    const TOOL_RUN run =
        run_release_tool({"make", (dir / "description.json").string(), (dir / "out").string()});
    EXPECT_EQ(run.exit_code, 1);
    EXPECT_EQ(run.errors, "vinst_release: component 'a': 'file' does not exist: '" + dir.str() +
                              "/none.run'\n"
                              "vinst_release: component 'b': unknown key 'fiel'; did you mean "
                              "'file'?\n");
    EXPECT_EQ(run.output, "");
}

TEST(ReleaseTool, RedrawsItsProgressOnATerminal)
{
    const TEMP_DIR dir;
    dir.write("base.run", pattern(5000000));
    dir.write("description.json", R"({"edition": "pro", "version": "5.2",
        "components": [{"name": "base", "platform": "linux", "file": "base.run"}]})");
    CHILD_SETUP setup;
    setup.program = release_tool;
    setup.arguments = {"make", (dir / "description.json").string(), (dir / "out").string()};
    setup.terminal = CHILD_TERMINAL();
    CHILD_PROCESS child(setup);
    ASSERT_TRUE(child.wait(long_enough));
    EXPECT_THAT(child.output(),
                HasSubstr("\rMeasuring: 1 of 1 file, 4.77 MB of 4.77 MB (100%)\x1b[K\r\x1b[K"));
}

TEST_F(ReleaseServer, ServesCompleteFilesAndTheirTypes)
{
    const std::string data = pattern(3000000);
    m_dir.write("served/a b.run", data);
    m_dir.write("served/manifest.json", "[]");
    m_dir.write("served/empty.txt", "");
    serve();
    const ANSWER run = get("/a%20b.run");
    EXPECT_THAT(run.head,
                AllOf(StartsWith("HTTP/1.1 200 "), HasSubstr("Content-Length: 3000000\r\n"),
                      HasSubstr("Accept-Ranges: bytes\r\n"),
                      HasSubstr("Content-Type: application/octet-stream\r\n")));
    EXPECT_EQ(run.body, data);
    EXPECT_THAT(get("/manifest.json").head, HasSubstr("Content-Type: application/json\r\n"));
    const ANSWER empty = get("/empty.txt");
    EXPECT_THAT(empty.head, AllOf(StartsWith("HTTP/1.1 200 "), HasSubstr("Content-Length: 0\r\n")));
    EXPECT_EQ(empty.body, "");
}

TEST_F(ReleaseServer, AnswersAHeadRequestWithoutABody)
{
    m_dir.write("served/file", "0123456789");
    serve();
    const ANSWER answer = ask("HEAD", "/file");
    EXPECT_THAT(answer.head,
                AllOf(StartsWith("HTTP/1.1 200 "), HasSubstr("Content-Length: 10\r\n")));
    EXPECT_EQ(answer.body, "");
}

TEST_F(ReleaseServer, ServesSingleRanges)
{
    m_dir.write("served/file", "0123456789");
    serve();
    struct CASE
    {
        std::string range;
        std::string content_range;
        std::string body;
    };
    for (const CASE& good :
         {CASE{"0-0", "0-0", "0"}, CASE{"3-5", "3-5", "345"}, CASE{"7-", "7-9", "789"},
          CASE{"7-4711", "7-9", "789"}, CASE{"-2", "8-9", "89"}, CASE{"-99", "0-9", "0123456789"}})
    {
        const ANSWER answer = get("/file", "Range: bytes=" + good.range + "\r\n");
        EXPECT_THAT(
            answer.head,
            AllOf(StartsWith("HTTP/1.1 206 "),
                  HasSubstr("Content-Range: bytes " + good.content_range + "/10\r\n"),
                  HasSubstr("Content-Length: " + std::to_string(good.body.size()) + "\r\n")))
            << good.range;
        EXPECT_EQ(answer.body, good.body) << good.range;
    }
}

TEST_F(ReleaseServer, RefusesRangesBeyondTheEnd)
{
    m_dir.write("served/file", "0123456789");
    m_dir.write("served/empty", "");
    serve();
    for (const char* range : {"10-", "10-20", "4711-", "-0"})
    {
        const ANSWER answer = get("/file", std::string("Range: bytes=") + range + "\r\n");
        EXPECT_THAT(answer.head,
                    AllOf(StartsWith("HTTP/1.1 416 "), HasSubstr("Content-Range: bytes */10\r\n")))
            << range;
        EXPECT_EQ(answer.body, "") << range;
    }
    EXPECT_THAT(get("/empty", "Range: bytes=0-\r\n").head, StartsWith("HTTP/1.1 416 "));
    EXPECT_THAT(get("/file", "Range: bytes=99999999999999999999999-\r\n").head,
                StartsWith("HTTP/1.1 416 "));
}

TEST_F(ReleaseServer, ServesTheCompleteFileForSeveralRangesOrChangedContent)
{
    m_dir.write("served/file", "0123456789");
    serve();
    const ANSWER several = get("/file", "Range: bytes=0-1,3-4\r\n");
    EXPECT_THAT(several.head, AllOf(StartsWith("HTTP/1.1 200 "), Not(HasSubstr("multipart"))));
    EXPECT_EQ(several.body, "0123456789");
    const ANSWER changed = get("/file", "Range: bytes=3-\r\nIf-Range: \"old\"\r\n");
    EXPECT_THAT(changed.head, StartsWith("HTTP/1.1 200 "));
    EXPECT_EQ(changed.body, "0123456789");
}

TEST_F(ReleaseServer, ResumesWithItsETag)
{
    m_dir.write("served/file", "0123456789");
    serve();
    const std::string head = get("/file").head;
    const std::size_t begin = head.find("ETag: ") + 6;
    const std::string tag = head.substr(begin, head.find("\r\n", begin) - begin);
    EXPECT_EQ(get("/file", "Range: bytes=8-\r\nIf-Range: " + tag + "\r\n").body, "89");
}

TEST_F(ReleaseServer, ServesNothingOutsideItsDirectory)
{
    m_dir.write("served/file", "inside");
    m_dir.write("secret", "secret");
    std::filesystem::create_symlink(m_dir / "secret", m_dir / "served/link");
    serve();
    for (const char* path : {"/../secret", "/%2e%2e/secret", "/..%2fsecret", "/link", "/",
                             "/file/../../secret", "/%2fetc/passwd", "/file%00", "/none"})
    {
        const ANSWER answer = get(path);
        EXPECT_THAT(answer.head, Not(StartsWith("HTTP/1.1 2"))) << path;
        EXPECT_EQ(answer.body, "") << path;
    }
}

TEST_F(ReleaseServer, RejectsOtherMethods)
{
    m_dir.write("served/file", "inside");
    serve();
    for (const char* method : {"PUT", "POST", "DELETE"})
    {
        const ANSWER answer = ask(method, "/file", "Content-Length: 0\r\n");
        EXPECT_THAT(answer.head,
                    AllOf(StartsWith("HTTP/1.1 405 "), HasSubstr("Allow: GET, HEAD\r\n")));
    }
    EXPECT_EQ(m_dir.read("served/file"), "inside");
}

TEST_F(ReleaseServer, AnswersManyRequestsOnOneConnection)
{
    m_dir.write("served/file", "0123456789");
    serve();
    RAW_CONNECTION connection(m_port);
    for (int i = 0; i < 20; ++i)
    {
        connection.send_text("GET /file HTTP/1.1\r\nHost: x\r\nRange: bytes=" +
                             std::to_string(i % 10) + "-\r\n\r\n");
        EXPECT_THAT(connection.receive_next("9"), StartsWith("HTTP/1.1 206 "));
    }
}

TEST_F(ReleaseServer, UsesNoMoreMemoryForLargeFilesThanForSmallOnes)
{
    constexpr std::uint64_t mib = 1ULL << 20;
    const auto peak_memory = [this](std::uint64_t size)
    {
        m_dir.write("served/file", pattern(size, 9));
        serve();
        std::vector<std::future<std::uint64_t>> transfers;
        for (int i = 0; i < 6; ++i)
            transfers.push_back(std::async(std::launch::async, [this]
                                           { return std::uint64_t{get("/file").body.size()}; }));
        for (auto& transfer : transfers)
            EXPECT_EQ(transfer.get(), size);
        return peak_resident_memory(m_server->pid());
    };
    const std::uint64_t small = peak_memory(mib);
    const std::uint64_t large = peak_memory(96 * mib);
    // One file held in memory would be twice that, six of them twelve times.
    EXPECT_LT(large, small + 48 * mib);
}

TEST_F(ReleaseServer, LimitsTheRateOfEachConnection)
{
    m_dir.write("served/file", pattern(2000000, 10));
    serve({"--rate", "1000000"});
    const auto start = std::chrono::steady_clock::now();
    auto other = std::async(std::launch::async, [this] { return get("/file").body; });
    EXPECT_EQ(get("/file").body, pattern(2000000, 10));
    EXPECT_EQ(other.get(), pattern(2000000, 10));
    const auto elapsed = std::chrono::steady_clock::now() - start;
    // Data for two seconds, of which the last twentieth of a second is sent at once.
    EXPECT_GE(elapsed, 1900ms);
}

TEST_F(ReleaseServer, ShutsDownCleanlyDuringATransfer)
{
    m_dir.write("served/file", pattern(2000000, 11));
    for (const int signal_number : {SIGINT, SIGTERM})
    {
        serve({"--rate", "1000"});
        RAW_CONNECTION busy(m_port);
        busy.send_text("GET /file HTTP/1.1\r\nHost: x\r\n\r\n");
        EXPECT_THAT(busy.receive_until("\r\n\r\n"), StartsWith("HTTP/1.1 200 "));
        RAW_CONNECTION idle(m_port);
        idle.send_text("HEAD /file HTTP/1.1\r\nHost: x\r\n\r\n");
        EXPECT_THAT(idle.receive_until("\r\n\r\n"), StartsWith("HTTP/1.1 200 "));

        m_server->send_signal(signal_number);
        const auto result = m_server->wait(long_enough);
        ASSERT_TRUE(result) << "did not end";
        EXPECT_TRUE(result->exited_with(0));
        EXPECT_EQ(m_server->errors(), "");
    }
}

TEST_F(ReleaseServer, ReportsThatItsPortIsTaken)
{
    m_dir.make_dir("served");
    serve();
    const TOOL_RUN second =
        run_release_tool({"serve", (m_dir / "served").string(), "--port", std::to_string(m_port)});
    EXPECT_EQ(second.exit_code, 1);
    EXPECT_EQ(second.errors, "vinst_release: cannot listen on 127.0.0.1 port " +
                                 std::to_string(m_port) + ": Address already in use\n");
}

TEST_F(ReleaseServer, ReportsThatItsDirectoryIsInvalid)
{
    const TOOL_RUN run = run_release_tool({"serve", m_dir.str() + "/none"});
    EXPECT_EQ(run.exit_code, 1);
    EXPECT_EQ(run.errors, "vinst_release: cannot serve '" + m_dir.str() +
                              "/none': No such file or directory\n");
}
