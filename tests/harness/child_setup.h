#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

struct CHILD_TERMINAL
{
    unsigned short rows = 24;
    unsigned short columns = 80;
};

/// What to run. The child inherits only PATH and the variables of the sanitizers and the coverage
/// tool; its standard input is /dev/null, or the terminal if it has one.
struct CHILD_SETUP
{
    std::filesystem::path program; ///< searched for in PATH if it has no slash
    std::vector<std::string> arguments = {};
    std::filesystem::path working_directory = {}; ///< empty: this process's
    std::map<std::string, std::string> environment = {};
    std::optional<CHILD_TERMINAL> terminal = {};
    std::set<int> closed_streams = {}; ///< standard descriptors that are closed at its start

    /// Creates home/ and tmp/ in a directory and sets HOME and TMPDIR to them.
    CHILD_SETUP& live_in(const std::filesystem::path& directory);

    /// Adds an option for the sanitizers, as in "detect_leaks=0"; without one it has no effect.
    CHILD_SETUP& add_sanitizer_option(const std::string& option);
};

struct CHILD_RESULT
{
    int exit_code = -1; ///< -1 if a signal ended it
    int signal = 0;     ///< 0 if it exited
    std::chrono::microseconds processor_time{0};
    std::uint64_t peak_memory = 0; ///< peak resident bytes

    [[nodiscard]] bool exited_with(int code) const { return signal == 0 && exit_code == code; }
};
