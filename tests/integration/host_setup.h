#pragma once

#include "tests/harness/child_process.h"

/// A host of the tested platform as a process whose home/ and tmp/ are in a directory.
struct HOST_SETUP
{
    std::string name; ///< name of the host, without ".exe"
    std::vector<std::string> arguments;
    std::filesystem::path directory;
    std::map<std::string, std::string> environment = {};

    /// The program itself on Linux; through Wine for a Windows build.
    [[nodiscard]] CHILD_SETUP for_tested_platform() const;
};

/// A path in the form that the tested host accepts and prints: on Windows on drive Z, with
/// backslashes.
std::string host_path(const std::filesystem::path& path);

/// Converts the "\r\n" of a Windows program's output to the "\n" of the tests' expectations.
std::string with_plain_line_ends(std::string text);

/// Removes what Wine itself prints to the standard error.
std::string without_lines_of_wine(const std::string& text);
