#pragma once

#include "tests/harness/child_process.h"

/// A host of the tested platform as a process that lives in a directory: home/ and tmp/ are there.
struct HOST_SETUP
{
    std::string name; ///< of the host, without ".exe"
    std::vector<std::string> arguments;
    std::filesystem::path directory;
    std::map<std::string, std::string> environment = {};

    /// The program itself on Linux; through Wine for a Windows build.
    [[nodiscard]] CHILD_SETUP for_tested_platform() const;
};

/// A path as the tested host is told it and says it: on Windows on drive Z, with backslashes.
std::string host_path(const std::filesystem::path& path);

/// What a Windows program printed ends its lines with "\r\n"; the tests' expectations with "\n".
std::string with_plain_line_ends(std::string text);

/// Wine says things of its own on the standard error.
std::string without_lines_of_wine(const std::string& text);
