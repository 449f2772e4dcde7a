#include "install/vinst/base/vinst_platform.h"

#include <gtest/gtest.h>

#include <windows.h>

namespace
{

/// Restores the standard output of the process.
class StandardHandles : public ::testing::Test
{
protected:
    ~StandardHandles() override { ::SetStdHandle(STD_OUTPUT_HANDLE, m_previous); }

private:
    const HANDLE m_previous = ::GetStdHandle(STD_OUTPUT_HANDLE);
};

}

TEST(SystemDialogs, AreSuppressed)
{
    const UINT mode = ::GetErrorMode();
    ::SetErrorMode(mode & ~UINT{SEM_FAILCRITICALERRORS});
    suppress_system_dialogs();
    EXPECT_EQ(::GetErrorMode(), mode | SEM_FAILCRITICALERRORS);
    ::SetErrorMode(mode);
}

TEST(Console, IsRestored)
{
    // A process that was started without a console may have a part of one.
    ::FreeConsole();
    ASSERT_NE(::AllocConsole(), FALSE);
    constexpr UINT code_page = 437;
    ASSERT_NE(::SetConsoleOutputCP(code_page), FALSE);
    set_up_console();
    EXPECT_EQ(::GetConsoleOutputCP(), UINT{CP_UTF8});
    restore_console();
    EXPECT_EQ(::GetConsoleOutputCP(), code_page);
    ::SetConsoleOutputCP(850);
    restore_console(); // has nothing to restore now
    EXPECT_EQ(::GetConsoleOutputCP(), 850U);
    ::FreeConsole();
}

TEST_F(StandardHandles, ThatAreInvalidAreCleared)
{
    const HANDLE stale = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    ::CloseHandle(stale);
    ::SetStdHandle(STD_OUTPUT_HANDLE, stale);
    open_missing_standard_streams();
    EXPECT_EQ(::GetStdHandle(STD_OUTPUT_HANDLE), nullptr);
    open_missing_standard_streams();
    EXPECT_EQ(::GetStdHandle(STD_OUTPUT_HANDLE), nullptr);
}

TEST_F(StandardHandles, ThatAreValidAreKept)
{
    const HANDLE null_device =
        ::CreateFileW(L"NUL", GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(null_device, INVALID_HANDLE_VALUE);
    ::SetStdHandle(STD_OUTPUT_HANDLE, null_device);
    open_missing_standard_streams();
    EXPECT_EQ(::GetStdHandle(STD_OUTPUT_HANDLE), null_device);
    ::CloseHandle(null_device);
}
