#pragma once

#include "install/vinst/download/vinst_downloader_view.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

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
