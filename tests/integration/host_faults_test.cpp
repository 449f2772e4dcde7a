#include "tests/integration/host_fixture.h"

#include "tests/harness/loopback.h"
#include "tests/harness/nginx_server.h"
#include "tests/harness/stopwatch.h"

#include <system_error>

namespace
{

/// A fault of the server, and what the run reports about it.
struct FAULT_CASE
{
    const char* name;
    FAULT fault;
    std::size_t on_disk; ///< bytes of the file on disk before the run
    const char* line;    ///< the component's line in the progress block
    const char* result;  ///< the text after "Download failed"
    const char* reason;  ///< in the line below the result
    std::size_t kept;    ///< bytes that the run leaves on disk
};

constexpr const char* write_error =
    ". Failed to write data to the destination. Ensure you have sufficient disk space.";

const FAULT_CASE cases[] = {
    {"Cut", FAULT::cut_after(1000), 0,
     "One: Error: transfer closed with 2000 bytes remaining to read, Httpcode: 200, Curlcode: 18",
     "", "transfer closed with 2000 bytes remaining to read", 1000},
    {"Reset", FAULT::reset_after(1000), 0,
     "One: Error: Recv failure: Connection reset by peer, Httpcode: 200, Curlcode: 56", "",
     "Recv failure: Connection reset by peer", 1000},
    {"ShortLie", FAULT::claim_length(1000), 0,
     "One: Error: The server offers 1000 bytes, but the release lists 3000, Httpcode: 200, "
     "Curlcode: 18",
     "", "The server offers 1000 bytes, but the release lists 3000", 0},
    {"LongLie", FAULT::claim_length(3500), 0,
     "One: Error: The server offers 3500 bytes, but the release lists 3000, Httpcode: 200, "
     "Curlcode: 63",
     write_error, "The server offers 3500 bytes, but the release lists 3000", 0},
    {"LongerFile", FAULT::other_body(SERVED_BODY::of_pattern(8000, 1)), 500,
     "One: Error: The server offers 8000 bytes, but the release lists 3000, Httpcode: 206, "
     "Curlcode: 63",
     write_error, "The server offers 8000 bytes, but the release lists 3000", 500},
    {"NotFound", FAULT::status(404), 500,
     "One: Error: The requested URL returned error: 404, Httpcode: 404, Curlcode: 22",
     ". Error 404: File not found.", "the server answered with HTTP status 404 (file not found)",
     0},
    {"TooManyRequests", FAULT::status(429, "<html>wait</html>", {{"Retry-After", "3"}}), 500,
     "One: Error: The requested URL returned error: 429, Httpcode: 429, Curlcode: 22", "",
     "the server answered with HTTP status 429 (too many requests)", 500},
    {"ServerError", FAULT::status(500), 500,
     "One: Error: The requested URL returned error: 500, Httpcode: 500, Curlcode: 22", "",
     "the server answered with HTTP status 500 (server error)", 500},
    {"Unavailable", FAULT::status(503), 0,
     "One: Error: The requested URL returned error: 503, Httpcode: 503, Curlcode: 22", "",
     "the server answered with HTTP status 503 (server error)", 0},
    {"Encoded", FAULT::content_encoding("gzip"), 0,
     "One: Error: The server sent encoded content, which was not requested, Httpcode: 200, "
     "Curlcode: "
     "61",
     "", "The server sent encoded content, which was not requested", 0},
    {"WithoutALength", FAULT::without_length(1000), 0,
     "One: Error: The server sent 1000 of the 3000 bytes that the release lists, Httpcode: 200, "
     "Curlcode: 18",
     "", "The server sent 1000 of the 3000 bytes that the release lists", 0},
    {"CaptivePortal", FAULT::other_body("<html>log in</html>"), 0,
     "One: Error: The server offers 19 bytes, but the release lists 3000, Httpcode: 200, "
     "Curlcode: 18",
     "", "The server offers 19 bytes, but the release lists 3000", 0},
    {"OtherContent", FAULT::other_body(std::string(3000, 'x')), 0, "One: [3000 / 3000] 100% ",
     write_error,
     "checksum mismatch: the release lists MD5 14694d0ac5653f64ac633f574f899f07, the file has "
     "33d7ac42e3aa0f3146843833c23e4365",
     3000},
    {"CutInChunks", FAULT::chunked(1000), 0,
     "One: Error: transfer closed with outstanding read data remaining, Httpcode: 200, Curlcode: "
     "18",
     "", "transfer closed with outstanding read data remaining", 1000},
    {"ShortBody", FAULT::short_body(1000), 0,
     "One: Error: The server offers 1000 bytes, but the release lists 3000, Httpcode: 200, "
     "Curlcode: 18",
     "", "The server offers 1000 bytes, but the release lists 3000", 0},
    {"RedirectToAFile", FAULT::redirect(302, "file:///etc/passwd"), 0,
     "One: Error: Protocol \"file\" not supported or disabled in libcurl, Httpcode: 302, Curlcode: "
     "1",
     "", "Protocol \"file\" not supported or disabled in libcurl", 0},
    {"EndlessHeaderLine", FAULT::endless_header_line(), 0,
     "One: Error: Out of memory, Httpcode: 200, Curlcode: 27", "", "Out of memory",
     0}, // a limit of libcurl's
    {"Loop", FAULT::redirect(302, "/one.run"), 0,
     "One: Error: Maximum (10) redirects followed, Httpcode: 302, Curlcode: 47", "",
     "Maximum (10) redirects followed", 0},
};

void PrintTo(const FAULT_CASE& fault, std::ostream* out)
{
    *out << fault.name;
}

class HostFault : public HostTest, public ::testing::WithParamInterface<FAULT_CASE>
{
};

}

TEST_P(HostFault, IsReportedInTheProgressBlockAndTheResult)
{
    const FAULT_CASE& fault = GetParam();
    builder.component("one").title("One").pattern_content(3000, 1);
    publish();
    if (fault.on_disk > 0)
        dir.write("dl/one.run", read_file(builder.file("one").path).substr(0, fault.on_disk));
    server.set_faults("/one.run", {fault.fault});
    run(run_arguments({"--retry-duration", "0"}));
    EXPECT_TRUE(result.exited_with(0));
    EXPECT_TRUE(output_holds(std::string(fault.line) + "\n")) << output;
    EXPECT_TRUE(output_holds(std::string("\nChecking file integrity ...\nDownload failed") +
                             fault.result + "\nOne (" + server.url("/one.run") +
                             "): " + fault.reason +
                             "\nDownload failed. Exceeded retry limit. Process aborted.\n"))
        << output;
    const std::filesystem::path path = dir / "dl/one.run";
    EXPECT_EQ(std::filesystem::exists(path) ? std::filesystem::file_size(path) : 0, fault.kept);
}

INSTANTIATE_TEST_SUITE_P(Server, HostFault, ::testing::ValuesIn(cases),
                         [](const auto& fault) { return fault.param.name; });

namespace
{

/// A response that a server could send for a file that is already complete on disk.
struct LATER_ANSWER
{
    const char* name;
    FAULT fault;
};

const LATER_ANSWER later_answers[] = {
    {"NotFound", FAULT::status(404)},
    {"Forbidden", FAULT::status(403)},
    {"Unavailable", FAULT::status(503)},
    {"RangeNotSatisfiableWithoutATotal", FAULT::range_not_satisfiable(false)},
    {"NoRanges", FAULT::ignore_range()},
    {"LongerFile", FAULT::other_body(SERVED_BODY::of_pattern(8000, 1))},
};

void PrintTo(const LATER_ANSWER& answer, std::ostream* out)
{
    *out << answer.name;
}

class HostSecondRun : public HostTest, public ::testing::WithParamInterface<LATER_ANSWER>
{
};

}

TEST_P(HostSecondRun, RequestsNoCompleteFile)
{
    builder.component("one").title("One").pattern_content(3000, 1);
    publish();
    run(run_arguments());
    ASSERT_TRUE(output_holds("\nDownload successful\n")) << output;
    server.set_faults("/one.run", {GetParam().fault});
    run(run_arguments({"--retry-duration", "0"}));
    EXPECT_TRUE(output_holds("One: [3000 / 3000] 100% \n")) << output;
    EXPECT_TRUE(output_holds("\nDownload successful\n")) << output;
    EXPECT_EQ(server.request_count("/one.run"), 1U);
    EXPECT_EQ(dir.read("dl/one.run"), read_file(builder.file("one").path));
}

INSTANTIATE_TEST_SUITE_P(Server, HostSecondRun, ::testing::ValuesIn(later_answers),
                         [](const auto& answer) { return answer.param.name; });

namespace
{

class HostFaults : public HostTest
{
protected:
    /// On Windows, libcurl can't verify an IP address against a file of CA certificates.
    static std::string verifiable(std::string url)
    {
        const std::string number = "127.0.0.1";
        if (tested_platform() == "windows")
            url.replace(url.find(number), number.size(), "localhost");
        return url;
    }
};

}

TEST_F(HostFaults, DoNotAffectACompleteFile)
{
    builder.component("one").title("One").pattern_content(3000, 1);
    publish();
    for (const bool with_reset : {true, false})
    {
        server.set_faults("/one.run", {FAULT::chunks_without_end(with_reset)});
        std::filesystem::remove(dir / "dl/one.run");
        run(run_arguments({"--retry-duration", "0"}));
        EXPECT_TRUE(output_holds("\nDownload successful\n")) << output;
        EXPECT_EQ(dir.read("dl/one.run"), read_file(builder.file("one").path));
    }
}

TEST_F(HostFaults, LetAGoodFileSucceedThatTheServerContinuesWithOtherBytes)
{
    builder.component("one").title("One").pattern_content(3000, 1);
    publish();
    server.serve("/one.run", SERVED_BODY::of_pattern(3001, 1), {FAULT::without_length()});
    run(run_arguments({"--retry-duration", "0"}));
    EXPECT_TRUE(output_holds("One: Error: The server sends more than the 3000 bytes that the "
                             "release lists, Httpcode: 200, Curlcode: 63\n"))
        << output;
    EXPECT_TRUE(output_holds("\nChecking file integrity ...\nDownload successful\n")) << output;
}

TEST_F(HostFaults, EndEndlessHeaders)
{
    builder.component("one").title("One").pattern_content(3000, 1);
    publish();
    server.set_faults("/one.run", {FAULT::endless_headers()});
    run(run_arguments({"--retry-duration", "0"}));
    EXPECT_TRUE(
        output_holds("One: Error: The server's headers are too long, Httpcode: 200, Curlcode: 8\n"))
        << output;
    EXPECT_FALSE(output_holds("disk space."));
}

TEST_F(HostFaults, AreOvercomeWithoutSupportForRangeRequests)
{
    builder.component("one").pattern_content(300'000, 1);
    publish();
    server.set_faults("/one.run", {FAULT::cut_after(100'000).times(1), FAULT::ignore_range()});
    run(run_arguments());
    EXPECT_TRUE(output_holds("\nDownload successful\n")) << output;
    EXPECT_EQ(dir.read("dl/one.run"), read_file(builder.file("one").path));
}

TEST_F(HostFaults, AreOvercomeWhenTheServerMislabelsRanges)
{
    builder.component("one").pattern_content(3000, 1);
    publish();
    for (const FAULT& fault : {FAULT::wrong_range_start(10), FAULT::without_content_range(),
                               FAULT::range_not_satisfiable(true)})
    {
        dir.write("dl/one.run", read_file(builder.file("one").path).substr(0, 500));
        server.set_faults("/one.run", {fault});
        run(run_arguments({"--retry-duration", "0"}));
        EXPECT_TRUE(output_holds("\nDownload successful\n")) << output;
    }
}

TEST_F(HostFaults, AreOvercomeWhenTheServerIsOnlySlow)
{
    builder.component("one").pattern_content(3000, 1);
    publish();
    server.set_faults("/one.run", {FAULT::trickle(500, 500ms)});
    run(run_arguments({"--retry-duration", "0"}));
    EXPECT_TRUE(output_holds("\nDownload successful\n")) << output;
    EXPECT_TRUE(output_holds("  Avg. download speed: ["));
}

TEST_F(HostFaults, AreReportedWhenNoServerAnswers)
{
    const std::uint16_t nobody = free_port();
    builder.component("one").title("One").pattern_content(3000, 1);
    builder.download_url(loopback_url(nobody, ""));
    publish();
    run(run_arguments({"--retry-duration", "0"}));
    EXPECT_TRUE(result.exited_with(0));
    EXPECT_FALSE(output_holds("One: Error: ")) << output;
    const std::string peer = "127.0.0.1:" + std::to_string(nobody);
    EXPECT_TRUE(output_holds("\nDownload failed\nOne (http://" + peer +
                             "/one.run): no connection to " + peer + ": Failed to connect to "))
        << output;
    EXPECT_TRUE(output_holds("\nDownload failed. Exceeded retry limit. Process aborted.\n"));
    EXPECT_NE(log().find("Couldn't connect to server"), std::string::npos) << log();
}

TEST_F(HostFaults, PreventTransfersFromAnUntrustedServer)
{
    const TEST_AUTHORITY authority;
    builder.component("one").title("One").pattern_content(3000, 1);
    // The test file is not below this address, so that the connection test passes.
    builder.download_url(server.url("/files"));
    publish();
    environment["SSL_CERT_FILE"] = host_path(authority.ca_file());
    NGINX_OPTIONS options;
    options.root = dir / "release";
    for (const CERTIFICATE& certificate : {authority.other_host(), authority.untrusted()})
    {
        options.certificate = certificate;
        const NGINX_SERVER impostor(options);
        run(run_arguments({"--retry-duration", "0", "--url", verifiable(impostor.url(""))}));
        EXPECT_TRUE(
            output_holds(tested_platform() == "windows" ? " failed: schannel: " : " failed: SSL"))
            << output;
        EXPECT_TRUE(output_holds("): the TLS connection to "));
        EXPECT_TRUE(output_holds("set SSL_CERT_FILE to a file with its certificate\n"));
        EXPECT_EQ(impostor.count_in_access_log("GET"), 0U);
        std::error_code error;
        const auto size = std::filesystem::file_size(dir / "dl/one.run", error);
        EXPECT_TRUE(error || size == 0);
    }
    options.certificate = authority.server();
    const NGINX_SERVER origin(options);
    run(run_arguments({"--retry-duration", "0", "--url", verifiable(origin.url(""))}));
    EXPECT_TRUE(output_holds("\nDownload successful\n")) << output;
}

TEST_F(HostFaults, DoNotAffectOtherFiles)
{
    builder.component("bad").title("Bad").pattern_content(3000, 1);
    builder.component("good").title("Good").pattern_content(3000, 2);
    publish();
    server.set_faults("/bad.run", {FAULT::status(500)});
    run(run_arguments({"--retry-duration", "0"}));
    EXPECT_TRUE(output_holds("\nDownload failed\n")) << output;
    EXPECT_TRUE(output_holds("Good: [3000 / 3000] 100% \n")) << output;
    EXPECT_EQ(dir.read("dl/good.run"), read_file(builder.file("good").path));
    server.set_faults("/bad.run", {});
    run(run_arguments());
    EXPECT_TRUE(output_holds("\nDownload successful\n")) << output;
    EXPECT_EQ(server.request_count("/good.run"), 1U);
}

TEST_F(HostFaults, EndATransferThatStallsForAMinute)
{
    builder.component("one").title("One").pattern_content(3000, 1);
    publish();
    server.set_faults("/one.run", {FAULT::stall_after(1000)});
    const STOPWATCH watch;
    run(run_arguments({"--retry-duration", "0"}));
    const MEASURED_TIME taken = watch.elapsed();
    EXPECT_GE(taken.wall, 59s);
    EXPECT_TRUE(taken.within(75s));
    EXPECT_TRUE(
        output_holds("One: Error: No data received for 60 seconds, Httpcode: 200, Curlcode: 28\n"))
        << output;
    EXPECT_EQ(std::filesystem::file_size(dir / "dl/one.run"), 1000U);
}
