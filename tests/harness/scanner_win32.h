#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <thread>

#include <windows.h>

/// Locks a file like a virus scanner: no other access is possible.
class SCANNER
{
public:
    explicit SCANNER(const std::filesystem::path& path)
        : m_file(::CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr))
    {
    }
    ~SCANNER() { ::CloseHandle(m_file); }
    SCANNER(const SCANNER&) = delete;
    SCANNER& operator=(const SCANNER&) = delete;

    bool holds() const { return m_file != INVALID_HANDLE_VALUE; }

private:
    HANDLE m_file;
};

/// Runs an operation while a scanner locks the file for that long.
template <typename OPERATION>
bool while_scanned(const std::filesystem::path& path, std::chrono::milliseconds duration,
                   const OPERATION& operation)
{
    auto scanner = std::make_unique<SCANNER>(path);
    EXPECT_TRUE(scanner->holds());
    std::thread releaser(
        [&]
        {
            std::this_thread::sleep_for(duration);
            scanner.reset();
        });
    const bool succeeded = operation();
    releaser.join();
    return succeeded;
}
