#pragma once

#include "install/vinst/download/vinst_downloader_view.h"

/// A front end that shows nothing, but keeps windows alive while the manager works.
class VINST_EVENT_VIEW final : public VINST_DOWNLOADER_VIEW
{
public:
    void show_status(const QString&) override {}
    void show_integrity(VINST_COMPONENT*, VINST_INTEGRITY_STATE) override {}
    void show_percentage(VINST_COMPONENT*, quint64) override {}
    void show_overall(const QString&, quint64) override {}
    void show_speed(const QString&) override {}
    void show_time_remaining(const QString&) override {}
    void process_events() override;
};
