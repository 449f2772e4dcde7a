#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

// The files of a running program, which may change or vanish at any moment.

/// In bytes; 0 if there is no such file.
std::uintmax_t size_of_file(const std::filesystem::path& path);

/// Whether a file below a directory contains the text.
bool any_file_holds(const std::filesystem::path& directory, const std::string& text);

/// The program's temporary files and directories, relative to the directory.
std::vector<std::string> temporary_files_in(const std::filesystem::path& directory);
