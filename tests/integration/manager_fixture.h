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
