#include "tests/integration/manager_fixture.h"
#include "tests/integration/recording_view.h"

#include "install/vinst/console/vinst_plain_view.h"
#include "support/curl/curl_pieces.h"
#include "support/curl/curl_progress_data.h"
#include "tests/harness/loopback.h"
#include "tests/harness/pattern.h"
#include "tests/harness/stopwatch.h"

#include <fstream>

namespace
{

using namespace std::chrono_literals;

class Manager : public ManagerTest
{
protected:
    /// One console attempt to download all components; its output is in `printed`.
    bool attempt()
    {
        if (manager == nullptr)
        {
            manager = std::make_unique<VINST_DOWNLOADER_MGR>(*release, console);
            VINST_MESSAGES::instance().echo_to_console = true;
            manager->set_components(all(), false);
        }
        bool result = false;
        printed = printed_by([&] { result = manager->download(4); });
        return result;
    }

    bool printed_holds(const std::string& text) const
    {
        return printed.find(text) != std::string::npos;
    }

    std::string on_disk(const std::string& file) const { return dir.read("dl/" + file); }

    VINST_PLAIN_VIEW console;
    std::unique_ptr<VINST_DOWNLOADER_MGR> manager;
    std::string printed;
};

using STATES = std::vector<VINST_COMPONENT_PROGRESS::STATE>;

/// Stops the manager as soon as a progress pass shows these states of the components.
class STATE_WATCHER final : public VINST_DOWNLOADER_VIEW
{
public:
    explicit STATE_WATCHER(STATES expected) : m_expected(std::move(expected)) {}

    void show_progress(const std::vector<VINST_COMPONENT_PROGRESS>& progress,
                       const VINST_PROGRESS_TOTALS&) override
    {
        STATES states;
        for (const VINST_COMPONENT_PROGRESS& each : progress)
            states.push_back(each.state);
        were_seen = were_seen || states == m_expected;
        if (were_seen || ++m_passes == most_passes)
            request_download_stop();
    }

    bool were_seen = false;

private:
    static constexpr int most_passes = 60; // one per second
    const STATES m_expected;
    int m_passes = 0;
};

}

TEST_F(Manager, FetchesAndChecksAllComponents)
{
    builder.component("one").title("The One").pattern_content(3000, 1);
    builder.component("two").pattern_content(5000, 2).title("");
    load();
    EXPECT_TRUE(attempt());
    EXPECT_EQ(on_disk("one.run"), content_of("one"));
    EXPECT_EQ(on_disk("two.run"), content_of("two"));
    EXPECT_EQ(manager->passed_components(), all());
    EXPECT_TRUE(manager->failed_components().empty());
    EXPECT_EQ(printed.find("Download progress:\nThe One: [...]\ntwo: [...]\n\n\n\n"), 0U)
        << printed;
    EXPECT_TRUE(printed_holds("\x1b[5A\x1b[2K\rThe One: ["));
    EXPECT_TRUE(printed_holds("The One: [3000 / 3000] 100% \ntwo: [5000 / 5000] 100% \n"
                              "Total downloaded: [7.81 KB / 7.81 KB]      \n"));
    EXPECT_TRUE(printed_holds("\nChecking file integrity ...\nDownload successful\n"));
    EXPECT_TRUE(log_holds("[info] Do download ...\n"));
    EXPECT_TRUE(log_holds("[debug] add passed component: one\n"));
    EXPECT_EQ(component("one")->progress_data->http_code, 200);
}

TEST_F(Manager, NeverRequestsAVerifiedFileAgain)
{
    builder.component("one").title("One").pattern_content(3000, 1);
    builder.component("two").pattern_content(3000, 2);
    load();
    server.set_faults("/two.run", {FAULT::status(503).times(1)});
    EXPECT_FALSE(attempt());
    EXPECT_TRUE(attempt());
    EXPECT_TRUE(attempt());
    EXPECT_EQ(server.request_count("/one.run"), 1U);
    EXPECT_EQ(server.request_count("/two.run"), 2U);
    EXPECT_TRUE(printed_holds("One: [3000 / 3000] 100% \n"));
    EXPECT_FALSE(printed_holds("Avg. download speed"));
    EXPECT_EQ(manager->passed_components().size(), 2U);
}

TEST_F(Manager, RefetchesACorruptFileInTheNextAttempt)
{
    builder.component("one").pattern_content(3000, 1);
    load();
    server.set_faults("/one.run", {FAULT::other_body(std::string(3000, 'x')).times(1)});
    EXPECT_FALSE(attempt());
    EXPECT_TRUE(printed_holds(
        "Download failed. Failed to write data to the destination. Ensure you have sufficient disk "
        "space.\n"));
    EXPECT_TRUE(manager->errors().write_error());
    EXPECT_EQ(manager->failed_components(), all());
    EXPECT_TRUE(log_holds("[debug] MD5 => " + (dir / "dl/one.run").string() + ", actual md5:"));
    EXPECT_FALSE(manager->has_pending_integrity_tasks());
    EXPECT_TRUE(attempt());
    EXPECT_TRUE(log_holds("[info] Deleting corrupted components...\n"));
    EXPECT_EQ(on_disk("one.run"), content_of("one"));
    EXPECT_EQ(server.requests("/one.run").at(1).range(), "");
}

TEST_F(Manager, RemovesThePiecesOfACorruptFile)
{
    builder.component("one").pattern_content(3000, 1);
    load();
    server.set_etag("/one.run", "\"v1\"");
    const std::string file = dir.write("dl/one.run", std::string(3000, 'x')).string();
    const std::string piece = curl_piece_path(file, curl_piece_version(file, 3000, "\"v1\""), 1000);
    std::ofstream(piece) << std::string(2000, 'x');
    EXPECT_FALSE(attempt());
    EXPECT_TRUE(attempt());
    EXPECT_TRUE(on_disk("one.run") == content_of("one"));
    EXPECT_FALSE(std::filesystem::exists(dir / "dl/.pieces"));
}

TEST_F(Manager, RefetchesAFileWhosePiecesWereCorrupt)
{
    builder.component("one").pattern_content(40'000'000, 1);
    load();
    server.serve("/one.run", SERVED_BODY::of_pattern(40'000'000, 2),
                 {FAULT::trickle(1'000'000, 10ms)});
    server.set_etag("/one.run", "\"v1\"");
    EXPECT_FALSE(attempt());
    const std::size_t before = server.request_count("/one.run");
    EXPECT_GT(before, 1U);
    EXPECT_EQ(on_disk("one.run").size(), 40'000'000U);
    EXPECT_FALSE(std::filesystem::exists(dir / "dl/.pieces"));
    server.serve("/one.run", content_of("one"), {FAULT::trickle(1'000'000, 10ms)});
    server.set_etag("/one.run", "\"v1\"");
    EXPECT_TRUE(attempt());
    EXPECT_EQ(server.request_count("/one.run"), before + 1) << "from one server";
    EXPECT_TRUE(on_disk("one.run") == content_of("one"));
    EXPECT_FALSE(std::filesystem::exists(dir / "dl/.pieces"));
}

TEST_F(Manager, RemovesThePiecesOfAFileThatIsCompleteAlready)
{
    builder.component("one").pattern_content(3000, 1);
    load();
    const std::string file = dir.write("dl/one.run", content_of("one")).string();
    curl_piece_path(file, curl_piece_version(file, 3000, "\"v1\""), 1000);
    EXPECT_TRUE(std::filesystem::exists(dir / "dl/.pieces"));
    EXPECT_TRUE(attempt());
    EXPECT_EQ(server.request_count("/one.run"), 0U);
    EXPECT_FALSE(std::filesystem::exists(dir / "dl/.pieces"));
}

TEST_F(Manager, RequestsNoPiecesInARunWhoseServerHasRefusedThem)
{

    builder.component("one").pattern_content(40'000'000, 1);
    builder.component("two").pattern_content(3000, 2);
    load();
    server.set_etag("/one.run", "\"v1\"");
    const FAULT slow = FAULT::trickle(1'000'000, 10ms);
    server.set_faults("/one.run", {FAULT::status(503).for_ranges(), slow});
    server.set_faults("/two.run", {FAULT::status(503).times(1)});
    EXPECT_FALSE(attempt());
    const std::size_t before = server.request_count("/one.run");
    EXPECT_GT(before, 1U);
    std::filesystem::remove(dir / "dl/one.run");
    EXPECT_TRUE(attempt());
    EXPECT_EQ(server.request_count("/one.run"), before + 1);
}

TEST_F(Manager, TreatsAFileThatIsTooLongAsAWriteErrorAndOneThatIsTooShortAsIncomplete)
{
    builder.component("one").pattern_content(3000, 1);
    load();
    for (const std::uint64_t size : {3001U, 2999U})
    {
        server.set_faults("/one.run", {FAULT::other_body(SERVED_BODY::of_pattern(size, 1))});
        EXPECT_FALSE(attempt());
        EXPECT_EQ(manager->errors().write_error(), size > 3000);
        EXPECT_FALSE(std::filesystem::exists(dir / "dl/one.run"));
    }
}

TEST_F(Manager, ChecksAnExistingCompleteFile)
{
    builder.component("one").pattern_content(3000, 1);
    load();
    dir.write("dl/one.run", content_of("one"));
    EXPECT_TRUE(attempt());
    EXPECT_EQ(server.request_count("/one.run"), 0U);
    EXPECT_TRUE(printed_holds("\nDownload successful\n")) << printed;
    EXPECT_FALSE(printed_holds("Est. time remaining"));
}

TEST_F(Manager, KeepsACompleteFileDespiteOtherContentOnTheServer)
{
    builder.component("one").pattern_content(3000, 1);
    for (const FAULT& fault : {FAULT::status(404), FAULT::status(403), FAULT::status(503),
                               FAULT::range_not_satisfiable(false), FAULT::ignore_range(),
                               FAULT::other_body(pattern(3000, 1) + std::string(5000, 'x'))})
    {
        manager.reset();
        load();
        dir.write("dl/one.run", content_of("one"));
        server.set_faults("/one.run", {fault});
        EXPECT_TRUE(attempt());
        EXPECT_TRUE(printed_holds("\nDownload successful\n")) << printed;
        EXPECT_FALSE(manager->errors().not_found_error());
        EXPECT_EQ(manager->passed_components(), all());
        EXPECT_EQ(on_disk("one.run"), content_of("one"));
    }
    EXPECT_EQ(server.request_count("/one.run"), 0U);
}

TEST_F(Manager, RefetchesAnExistingCorruptFileInTheSecondAttempt)
{
    builder.component("one").pattern_content(3000, 1);
    load();
    dir.write("dl/one.run", std::string(3000, 'x'));
    EXPECT_FALSE(attempt());
    EXPECT_TRUE(manager->errors().write_error());
    EXPECT_EQ(server.request_count("/one.run"), 0U);
    EXPECT_TRUE(attempt());
    EXPECT_EQ(server.request_count("/one.run"), 1U);
    EXPECT_EQ(server.requests("/one.run").at(0).range(), "");
    EXPECT_EQ(on_disk("one.run"), content_of("one"));
}

TEST_F(Manager, AcceptsACompleteFileWithoutAServer)
{
    builder.component("one").pattern_content(3000, 1);
    builder.download_url("http://127.0.0.1:" + std::to_string(free_port()));
    load();
    dir.write("dl/one.run", content_of("one"));
    EXPECT_TRUE(attempt());
}

TEST_F(Manager, DeletesWhatIsNotFound)
{
    builder.component("one").title("One").pattern_content(3000, 1);
    load();
    dir.write("dl/one.run", content_of("one").substr(0, 100));
    server.set_faults("/one.run", {FAULT::status(404)});
    EXPECT_FALSE(attempt());
    EXPECT_TRUE(printed_holds(
        "One: Error: The requested URL returned error: 404, Httpcode: 404, Curlcode: 22\n"));
    EXPECT_TRUE(printed_holds("\nDownload failed. Error 404: File not found.\n"));
    EXPECT_TRUE(manager->errors().not_found_error());
    EXPECT_FALSE(manager->errors().write_error());
    EXPECT_FALSE(std::filesystem::exists(dir / "dl/one.run"));
    EXPECT_EQ(manager->errors().lasting_texts(), QStringList{"Error 404: File not found."});
    EXPECT_TRUE(manager->errors().error_lines().contains(
        "One: Error: The requested URL returned error: 404, Httpcode: 404, Curlcode: 22"));
}

TEST_F(Manager, ReportsAWriteErrorBeforeAMissingFile)
{
    builder.component("one").pattern_content(3000, 1);
    builder.component("two").pattern_content(3000, 2);
    load();
    server.set_faults("/one.run", {FAULT::status(404)});
    server.set_faults("/two.run", {FAULT::other_body(std::string(3000, 'x'))});
    EXPECT_FALSE(attempt());
    EXPECT_TRUE(printed_holds(
        "Download failed. Failed to write data to the destination. Ensure you have sufficient disk "
        "space.. Error 404: File not found.\n"));
}

TEST_F(Manager, ReportsTheReasonOfEachFileThatIsNotVerified)
{
    builder.component("one").title("One").pattern_content(3000, 1);
    builder.component("two").title("Two").pattern_content(3000, 2);
    builder.component("three").title("Three").pattern_content(3000, 3);
    builder.component("good").title("Good").pattern_content(3000, 4);
    load();
    server.set_faults("/one.run", {FAULT::status(503)});
    server.set_faults("/two.run", {FAULT::other_body(std::string(3000, 'x'))});
    server.set_faults("/three.run", {FAULT::other_body("<html>log in</html>")});
    EXPECT_FALSE(attempt());
    const std::string lines =
        "One (" + server.url("/one.run") +
        "): the server answered with HTTP status 503 (server error)\n"
        "Two (" +
        server.url("/two.run") + "): checksum mismatch: the release lists MD5 " +
        builder.file("two").md5 + ", the file has 33d7ac42e3aa0f3146843833c23e4365\n" + "Three (" +
        server.url("/three.run") + "): The server offers 19 bytes, but the release lists 3000\n";
    EXPECT_TRUE(printed_holds("Ensure you have sufficient disk space.\n" + lines)) << printed;
    EXPECT_TRUE(log_holds("[info] Three (" + server.url("/three.run") + "): The server offers"));
    // The next attempt moves the cursor over what is on the screen.
    EXPECT_EQ(console.progress_text().toStdString().substr(
                  console.progress_text().toStdString().size() - lines.size()),
              lines);
    EXPECT_EQ(component("one")->last_failure.toStdString() + "\n",
              lines.substr(0, lines.find('\n') + 1));
    EXPECT_EQ(component("good")->last_failure, "");

    for (const char* route : {"/one.run", "/two.run", "/three.run"})
        server.set_faults(route, {});
    EXPECT_TRUE(attempt());
    EXPECT_EQ(component("one")->last_failure, "");
}

TEST_F(Manager, ReportsNoReasonsAfterAStop)
{
    builder.component("one").title("One").pattern_content(3000, 1);
    load();
    server.set_faults("/one.run", {FAULT::stall_after(10)});
    RECORDING_VIEW view;
    VINST_DOWNLOADER_MGR stopped(*release, view);
    stopped.set_components(all(), false);
    view.on_events = [&]
    {
        if (component("one")->progress_data->bytes_received > 0)
            stopped.stop();
    };
    stopped.download(1);
    EXPECT_EQ(view.reported_lines, std::vector<std::string>{"Download stopped"});
    EXPECT_EQ(component("one")->last_failure, "");
}

TEST_F(Manager, ReportsAConnectionErrorOfEachFile)
{
    builder.component("one").title("One").pattern_content(3000, 1);
    builder.component("two").title("Two").pattern_content(3000, 2);
    const int port = free_port();
    builder.download_url("http://127.0.0.1:" + std::to_string(port));
    load();
    EXPECT_FALSE(attempt());
    EXPECT_FALSE(printed_holds("Error:"));
    const std::string peer = "127.0.0.1:" + std::to_string(port);
    EXPECT_TRUE(printed_holds("Download failed\nOne (http://" + peer +
                              "/one.run): no connection to " + peer + ": Failed to connect to "))
        << printed;
    EXPECT_TRUE(printed_holds("\nTwo (http://" + peer + "/two.run): no connection to "));
    EXPECT_TRUE(component("one")->progress_data->http_code == -1);
    EXPECT_FALSE(manager->errors().write_error());
}

TEST_F(Manager, ReportsALinkInPlaceOfAFile)
{
    builder.component("one").title("One").pattern_content(3000, 1);
    load();
    std::filesystem::create_symlink(dir / "elsewhere", dir / "dl/one.run");
    EXPECT_FALSE(attempt());
    EXPECT_TRUE(manager->errors().write_error());
    EXPECT_TRUE(printed_holds("\nOne (" + server.url("/one.run") + "): Cannot write " +
                              (dir / "dl/one.run").string() +
                              ": it is a link. Remove it and try again; 3000 bytes are needed, "))
        << printed;
    EXPECT_FALSE(std::filesystem::exists(dir / "elsewhere"));
}

TEST_F(Manager, NeverCompletesAComponentWithoutASize)
{
    builder.component("one").title("One").pattern_content(3000, 1).raw_key("size", "0");
    load();
    EXPECT_FALSE(attempt());
    EXPECT_TRUE(printed_holds("One: [0 / 0] 0% \n"));
    EXPECT_FALSE(component("one")->file.is_complete());
    EXPECT_EQ(manager->failed_components(), all());
    EXPECT_FALSE(manager->errors().write_error());
}

TEST_F(Manager, SkipsComponentsWithoutAFile)
{
    builder.component("group").no_file();
    builder.component("one").pattern_content(3000, 1);
    load();
    EXPECT_TRUE(attempt());
    EXPECT_EQ(manager->passed_components(), VINST_COMPONENT_LIST{component("one")});
    EXPECT_TRUE(manager->failed_components().empty());
}

TEST_F(Manager, ReplacesControlCharactersInATitle)
{
    builder.component("one").title("One\x1b[2J").pattern_content(3000, 1);
    load();
    EXPECT_TRUE(attempt());
    EXPECT_TRUE(printed_holds("One\xEF\xBF\xBD[2J: [3000 / 3000] 100% \n"));
}

TEST_F(Manager, ReportsTheStateOfEachComponent)
{
    using STATE = VINST_COMPONENT_PROGRESS::STATE;
    for (const char* name : {"verified", "missing", "moving", "waiting"})
        builder.component(name).pattern_content(300'000, 1);
    load();
    dir.write("dl/verified.run", content_of("verified"));
    server.set_faults("/missing.run", {FAULT::status(404)});
    server.set_faults("/moving.run", {FAULT::stall_after(1000)});
    server.set_faults("/waiting.run", {FAULT::stall_before_headers()});
    STATE_WATCHER view({STATE::verified, STATE::failed, STATE::moving, STATE::waiting});
    VINST_DOWNLOADER_MGR watched(*release, view);
    watched.set_components(all(), false);
    watched.download(4);
    EXPECT_TRUE(view.were_seen);
}

TEST_F(Manager, StopsInTheMiddle)
{
    builder.component("one").pattern_content(300'000, 1);
    builder.component("two").pattern_content(3000, 2);
    load();
    server.set_faults("/one.run", {FAULT::stall_after(1000)});
    server.set_faults("/two.run", {FAULT::status(404)});
    RECORDING_VIEW view;
    VINST_DOWNLOADER_MGR windowed(*release, view);
    windowed.set_components(all(), false);
    view.on_events = [&] { windowed.stop(); };
    const STOPWATCH watch;
    windowed.download(4);
    EXPECT_TRUE(watch.within(4s));
    EXPECT_EQ(view.statuses.back(), "Download stopped");
    EXPECT_EQ(view.reported_lines.back(), "Download stopped");
    EXPECT_EQ(component("one")->progress_data->curl_code, 42);
    EXPECT_TRUE(windowed.passed_components().empty());
}

TEST_F(Manager, NotifiesAViewOfEveryEvent)
{
    builder.component("one").pattern_content(2048, 1);
    load();
    RECORDING_VIEW view;
    VINST_DOWNLOADER_MGR windowed(*release, view);
    windowed.set_components(all(), false);
    EXPECT_EQ(view.statuses, std::vector<std::string>{"Download progress:"});
    EXPECT_EQ(view.overall, "0.00 B / 2.00 KB");
    EXPECT_TRUE(windowed.download(1));
    EXPECT_EQ(view.statuses,
              (std::vector<std::string>{"Download progress:", "Downloading selected components...",
                                        "Checking file integrity, please wait...",
                                        "Download successful"}));
    EXPECT_EQ(view.overall, "2.00 KB / 2.00 KB");
    EXPECT_EQ(view.overall_percent, 100U);
    EXPECT_EQ(view.percentages.back().second, 100U);
    EXPECT_EQ(view.states.back(), std::pair(component("one"), VINST_INTEGRITY_STATE::passed));
    EXPECT_EQ(view.speeds.back(), "");
    EXPECT_EQ(view.remaining.back(), "");
}

TEST_F(Manager, CountsOnlySelectedComponentsForTheView)
{
    builder.component("one").pattern_content(2048, 1);
    builder.component("two").pattern_content(4096, 2).selected(false);
    load();
    dir.write("dl/one.run", std::string(1024, 'x'));
    RECORDING_VIEW view;
    VINST_DOWNLOADER_MGR windowed(*release, view);
    windowed.set_components(all(), true);
    EXPECT_EQ(view.overall, "1.00 KB / 2.00 KB");
    EXPECT_EQ(view.overall_percent, 50U);
}

TEST_F(Manager, ReadsAFilesSizeOnlyWhenRequested)
{
    builder.component("one").pattern_content(2000, 1);
    load();
    VINST_DOWNLOADER_MGR plain(*release, quiet_view);
    VINST_COMPONENT* one = component("one");
    dir.write("dl/one.run", std::string(500, 'x'));
    EXPECT_EQ(plain.get_progress_percentage(one, false, true, 0), 25U);
    EXPECT_EQ(one->file.bytes_on_disk(), 500U);
    dir.write("dl/one.run", std::string(600, 'x'));
    EXPECT_EQ(plain.get_progress_percentage(one, false, false, 500), 50U);
    EXPECT_EQ(one->file.bytes_on_disk(), 500U);
    one->file.begin_check();
    one->file.finish_check({});
    EXPECT_EQ(plain.get_progress_percentage(one, false, false, 1499), 99U);
    EXPECT_FALSE(one->file.is_checked());
    EXPECT_FALSE(one->file.is_complete());
    EXPECT_EQ(plain.get_progress_percentage(one, false, false, 99999), 100U);
    EXPECT_TRUE(one->file.is_complete());
}
