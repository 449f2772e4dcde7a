#pragma once

#include "install/vinst/base/vinst_messages.h"
#include "install/vinst/base/vinst_stop.h"
#include "install/vinst/download/vinst_downloader_mgr.h"
#include "install/vinst/release/vinst_data.h"
#include "install/vinst/release/vinst_parser.h"
#include "tests/harness/fault_server.h"
#include "tests/harness/release_builder.h"
#include "tests/harness/stop_request.h"
#include "tests/harness/temp_dir.h"
#include "tests/harness/tested_host.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// A release of small components on a fault server, and a manager for it with a log.
class ManagerTest : public ::testing::Test
{
protected:
    ManagerTest() : builder(dir / "release")
    {
        builder.download_url(server.url("")).test_file(server.url(""));
        VINST_MESSAGES::instance().log_path = (dir / "log").string();
        VINST_MESSAGES::instance().open_log();
        VINST_MESSAGES::instance().set_debug();
    }
    ~ManagerTest() override { forget_stop_request(); }

    /// Writes the release, serves it, and loads it.
    void load()
    {
        const std::string manifest = builder.write().string();
        server.serve_directory(dir / "release");
        release = parse_manifest(QString::fromStdString(manifest), [](const QByteArray&) {});
        ASSERT_NE(release, nullptr);
        release->set_download_dir(QString::fromStdString((dir / "dl").string()));
        std::filesystem::create_directory(dir / "dl");
    }

    VINST_COMPONENT* component(const QString& name) const
    {
        return release->find_component(name, this_platform());
    }

    VINST_COMPONENT_LIST all() const
    {
        VINST_COMPONENT_LIST list;
        for (const auto& each : release->components())
            list.push_back(each.get());
        return list;
    }

    std::string content_of(const std::string& name) const
    {
        return read_file(builder.file(name).path);
    }

    /// What `action` prints to standard output.
    static std::string printed_by(const std::function<void()>& action)
    {
        ::testing::internal::CaptureStdout();
        action();
        return ::testing::internal::GetCapturedStdout();
    }

    std::string log() const { return read_file(dir / "log"); }
    bool log_holds(const std::string& text) const { return log().find(text) != std::string::npos; }

    TEMP_DIR dir;
    FAULT_SERVER server;
    RELEASE_BUILDER builder;
    std::unique_ptr<VINST_RELEASE> release;
    VINST_DOWNLOADER_VIEW quiet_view;
};

/// Records all events that a manager reports to its front end.
class RECORDING_VIEW final : public VINST_DOWNLOADER_VIEW
{
public:
    void show_status(const QString& text) override { statuses.push_back(text.toStdString()); }
    void show_integrity(VINST_COMPONENT* component, VINST_INTEGRITY_STATE state) override
    {
        if (states.empty() || states.back() != std::pair{component, state})
            states.emplace_back(component, state);
    }
    void show_percentage(VINST_COMPONENT* component, quint64 percent) override
    {
        percentages.emplace_back(component, percent);
    }
    void show_overall(const QString& text, quint64 percent) override
    {
        overall = text.toStdString();
        overall_percent = percent;
    }
    void show_speed(const QString& text) override { speeds.push_back(text.toStdString()); }
    void show_time_remaining(const QString& text) override
    {
        remaining.push_back(text.toStdString());
    }
    void show_reported_line(const QString& line) override
    {
        reported_lines.push_back(line.toStdString());
    }
    void process_events() override
    {
        VINST_DOWNLOADER_VIEW::process_events();
        if (on_events)
            on_events();
    }

    std::vector<std::string> statuses;
    std::vector<std::string> reported_lines;
    std::vector<std::pair<VINST_COMPONENT*, VINST_INTEGRITY_STATE>> states;
    std::vector<std::pair<VINST_COMPONENT*, quint64>> percentages;
    std::string overall;
    quint64 overall_percent = 0;
    std::vector<std::string> speeds;
    std::vector<std::string> remaining;
    std::function<void()> on_events;
};
