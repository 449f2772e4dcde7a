#include "tests/integration/host_fixture.h"

#include "tests/harness/ext4_disk.h"
#include "tests/harness/wait_until.h"

#include <utility>

namespace
{

using CLOCK = std::chrono::steady_clock;

/// Runs the console host into a directory on a disk whose power is cut.
class HostPowerCut : public HostTest
{
protected:
    void SetUp() override
    {
        if (const std::string obstacle = EXT4_DISK::obstacle(); !obstacle.empty())
            GTEST_SKIP() << obstacle;
        disk = std::make_unique<EXT4_DISK>(256 * mebibyte);
    }

    std::filesystem::path on_disk(const std::string& name) const
    {
        return disk->path() / "dl" / name;
    }

    std::uint64_t size_on_disk(const std::string& name) const
    {
        return size_of_file(on_disk(name));
    }

    ARGUMENTS arguments() const
    {
        return {"--download-dir", (disk->path() / "dl").string(), "--retry-duration", "0"};
    }

    static constexpr std::uint64_t mebibyte = 1024 * 1024;
    std::unique_ptr<EXT4_DISK> disk;
};

}

TEST_F(HostPowerCut, LosesNothingAfterASuccessfulDownload)
{
    const std::vector<std::pair<std::string, std::uint64_t>> files = {
        {"small", 3000}, {"middle", 5 * mebibyte}, {"large", 80 * mebibyte}};
    std::uint64_t seed = 1;
    for (const auto& [name, size] : files)
        builder.component(name).pattern_content(size, seed++);
    publish();
    CHILD_PROCESS host(setup(arguments()));
    ASSERT_TRUE(host.wait_for_output("\nDownload successful\n", 60s)) << host.output();
    disk->cut_power();
    ASSERT_TRUE(host.wait(30s));
    disk->mount_again();
    for (const auto& [name, size] : files)
    {
        EXPECT_EQ(size_on_disk(name + ".run"), size) << name;
        EXPECT_TRUE(read_file(on_disk(name + ".run")) == read_file(builder.file(name).path))
            << name;
    }
}

TEST_F(HostPowerCut, KeepsWhatATransferHadReceivedOneFlushIntervalBefore)
{
    const auto flush_interval = 10s;
    const auto time_to_flush = 3s;
    const auto duration = 2 * flush_interval - 4s; // before the kernel writes by itself
    builder.component("one").pattern_content(64 * mebibyte, 1);
    publish();
    server.set_faults("/one.run", {FAULT::trickle(64 * 1024, 50ms)});
    CHILD_PROCESS host(setup(arguments()));

    std::uint64_t kept_at_least = 0;
    std::optional<CLOCK::time_point> first_bytes;
    const auto has_run_long_enough = [&]
    {
        const std::uint64_t size = size_on_disk("one.run");
        if (!first_bytes && size > 0)
            first_bytes = CLOCK::now();
        if (!first_bytes)
            return false;
        const auto elapsed = CLOCK::now() - *first_bytes;
        if (elapsed < duration - flush_interval - time_to_flush)
            kept_at_least = size;
        return elapsed >= duration;
    };
    ASSERT_TRUE(wait_until(has_run_long_enough)) << host.output();
    ASSERT_GT(kept_at_least, mebibyte);
    disk->cut_power();
    host.send_signal(SIGTERM);
    ASSERT_TRUE(host.wait(30s));
    disk->mount_again();
    const std::uint64_t kept = size_on_disk("one.run");
    EXPECT_GE(kept, kept_at_least);
    EXPECT_TRUE(read_file(on_disk("one.run")) == pattern(kept));
}
