#pragma once

#include "install/vinst/download/vinst_downloader_view.h"

#include <memory>

/// Prints the progress of a download on standard output as a block of lines that is redrawn in
/// place. The lines that are reported through the message catalogue appear below it.
class VINST_CONSOLE_VIEW : public VINST_DOWNLOADER_VIEW
{
public:
    void show_connection_attempt(const std::string& host, const std::string& port) override;
    void show_proxy_source(const std::string& source) override;
    void show_proxy_exclusion(const std::string& variable) override;

    /// Prints the line above the blocks of all attempts.
    virtual void start() = 0;
    /// Reports that the next attempt follows after a wait.
    virtual void begin_wait(const QString& announcement) = 0;
    /// The wait is over, and the next attempt is drawn over the failed one, which stays readable
    /// until then.
    virtual void end_wait() = 0;
};

/// The view that suits standard output: a terminal, or a file or pipe.
std::unique_ptr<VINST_CONSOLE_VIEW> make_console_view();
