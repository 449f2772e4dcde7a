#include "install/vinst/base/vinst_print_platform.h"

#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <thread>
#include <unistd.h>

namespace
{

/// Replaces standard output by a pipe whose writing end is non-blocking.
class NON_BLOCKING_OUTPUT
{
public:
    NON_BLOCKING_OUTPUT()
    {
        std::fflush(stdout);
        m_saved = ::dup(STDOUT_FILENO);
        std::array<int, 2> ends{-1, -1};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0)
            return;
        m_reader = ends[0];
        ::fcntl(ends[1], F_SETFL, O_NONBLOCK);
        ::dup2(ends[1], STDOUT_FILENO);
        ::close(ends[1]);
    }
    ~NON_BLOCKING_OUTPUT()
    {
        restore();
        close_reader();
    }
    NON_BLOCKING_OUTPUT(const NON_BLOCKING_OUTPUT&) = delete;
    NON_BLOCKING_OUTPUT& operator=(const NON_BLOCKING_OUTPUT&) = delete;

    void restore()
    {
        if (m_saved == -1)
            return;
        ::dup2(m_saved, STDOUT_FILENO);
        ::close(m_saved);
        m_saved = -1;
    }

    void close_reader()
    {
        if (m_reader != -1)
            ::close(m_reader);
        m_reader = -1;
    }

    [[nodiscard]] std::string read_all() const
    {
        std::string all;
        std::array<char, 1000> block; // much less than the capacity of the pipe
        for (ssize_t size = 0; (size = ::read(m_reader, block.data(), block.size())) > 0;)
            all.append(block.data(), static_cast<std::size_t>(size));
        return all;
    }

private:
    int m_saved = -1;
    int m_reader = -1;
};

}

TEST(Print, WaitsForTheReaderOfANonBlockingOutput)
{
    std::string text;
    for (int i = 0; i < 200'000; ++i)
        text += std::to_string(i) + '\n';
    NON_BLOCKING_OUTPUT output;
    std::string seen;
    std::thread reader([&] { seen = output.read_all(); });
    write_to_standard_output(text);
    output.restore();
    reader.join();
    EXPECT_EQ(seen.size(), text.size());
    EXPECT_TRUE(seen == text);
}

TEST(Print, GivesUpIfTheReaderOfANonBlockingOutputHasEnded)
{
    struct sigaction ignored = {};
    ignored.sa_handler = SIG_IGN;
    struct sigaction previous = {};
    ASSERT_EQ(::sigaction(SIGPIPE, &ignored, &previous), 0);
    NON_BLOCKING_OUTPUT output;
    std::thread reader([&] { output.close_reader(); });
    write_to_standard_output(std::string(1'000'000, 'x'));
    reader.join();
    output.restore();
    EXPECT_EQ(::sigaction(SIGPIPE, &previous, nullptr), 0);
}
