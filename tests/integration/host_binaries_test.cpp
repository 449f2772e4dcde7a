#include "tests/harness/child_process.h"
#include "tests/harness/tested_host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

// What the files of the tested build contain, read with binutils.

namespace
{

using PATHS = std::vector<std::filesystem::path>;

/// Whether it is a program or a shared library, not an object file.
bool is_linked_elf(const std::filesystem::path& path)
{
    constexpr std::size_t type_at = 16;
    constexpr char object_file = 1;
    std::array<char, type_at + 1> start{};
    std::ifstream(path, std::ios::binary).read(start.data(), start.size());
    return std::string_view(start.data(), 4) == "\x7f"
                                                "ELF" &&
           start[type_at] != object_file;
}

bool is_windows_binary(const std::filesystem::path& path)
{
    return path.extension() == ".exe" || path.extension() == ".dll";
}

/// Every program and library of the build.
PATHS built_binaries()
{
    const auto is_binary = tested_platform() == "windows" ? is_windows_binary : is_linked_elf;
    PATHS found;
    for (const char* folder : {"bin", "lib", "tests"})
        for (const auto& entry :
             std::filesystem::recursive_directory_iterator(tested_build_dir() / folder))
            if (entry.is_regular_file() && is_binary(entry.path()))
                found.push_back(entry.path());
    return found;
}

/// What is packaged, and a function that each file defines.
struct SHIPPED_BINARY
{
    const char* path; ///< in the build directory
    const char* function;
};

constexpr std::array<SHIPPED_BINARY, 5> shipped_binaries = {
    {{"bin/vinst", "main"},
     {"bin/vinst_gui", "main"},
     {"bin/vinst_release", "main"},
     {"lib/vinst_pac", "main"},
     {"lib/libvinst.so", "install_vinst_run"}}};

std::string readelf(const char* options, const std::filesystem::path& binary)
{
    return run_tool({"readelf", {options, binary.string()}});
}

/// The directories in which a binary searches for libraries before the system's.
std::vector<std::string> library_directories(const std::filesystem::path& binary)
{
    const std::string dynamic = readelf("-dW", binary);
    static const std::regex entry(R"(\((?:RPATH|RUNPATH)\)[^\[]*\[([^\]]*)\])");
    std::vector<std::string> directories;
    for (std::sregex_iterator match(dynamic.begin(), dynamic.end(), entry), end; match != end;
         ++match)
    {
        std::istringstream list((*match)[1].str() + ':');
        for (std::string directory; std::getline(list, directory, ':');)
            directories.push_back(directory);
    }
    return directories;
}

bool holds(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

/// The first instruction of a function, such as "endbr64".
std::string first_instruction(const std::filesystem::path& binary, const std::string& function)
{
    const std::string code = run_tool(
        {"objdump", {"-d", "--no-show-raw-insn", "--disassemble=" + function, binary.string()}});
    static const std::regex start(R"(>:\n *[0-9a-f]+:\s+(\S+))");
    std::smatch match;
    return std::regex_search(code, match, start) ? match[1].str() : std::string();
}

class HostBinaries : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (tested_platform() == "windows")
            GTEST_SKIP() << "these are properties of Linux programs";
    }
};

}

TEST_F(HostBinaries, LoadNoLibraryFromTheCurrentDirectory)
{
    const PATHS binaries = built_binaries();
    for (const SHIPPED_BINARY& shipped : shipped_binaries)
        EXPECT_NE(std::find(binaries.begin(), binaries.end(), tested_build_dir() / shipped.path),
                  binaries.end())
            << shipped.path;
    for (const std::filesystem::path& binary : binaries)
        for (const std::string& directory : library_directories(binary))
            EXPECT_TRUE(directory == "$ORIGIN" || directory == "$ORIGIN/../lib")
                << binary << " looks for libraries in '" << directory << "'";
}

TEST_F(HostBinaries, ResolveTheirSymbolsBeforeTheyRun)
{
    const PATHS binaries = built_binaries();
    ASSERT_GE(binaries.size(), shipped_binaries.size());
    for (const std::filesystem::path& binary : binaries)
    {
        const std::string segments = readelf("-lW", binary);
        const std::string dynamic = readelf("-dW", binary);
        EXPECT_TRUE(holds(segments, "GNU_RELRO")) << binary;
        EXPECT_TRUE(holds(dynamic, "BIND_NOW")) << binary;
        EXPECT_TRUE(holds(readelf("-hW", binary), "Type:                              DYN"))
            << binary << " can't be loaded at any address";
    }
}

TEST_F(HostBinaries, CheckTheirStack)
{
    for (const SHIPPED_BINARY& shipped : shipped_binaries)
        EXPECT_TRUE(holds(run_tool({"nm", {"-D", (tested_build_dir() / shipped.path).string()}}),
                          " U __stack_chk_fail"))
            << shipped.path;
}

TEST_F(HostBinaries, MarkTheirTargetsOfIndirectJumps)
{
    for (const SHIPPED_BINARY& shipped : shipped_binaries)
        EXPECT_EQ(first_instruction(tested_build_dir() / shipped.path, shipped.function), "endbr64")
            << shipped.path;
}

#if defined(__OPTIMIZE__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST_F(HostBinaries, CheckTheSizesOfBuffers)
{
    static const std::regex checked(R"( U __(?!stack_chk)\w+_chk@)");
    // The other programs call no function that has such a check.
    for (const char* path : {"lib/libvinst.so", "bin/vinst_release"})
        EXPECT_TRUE(std::regex_search(
            run_tool({"nm", {"-D", (tested_build_dir() / path).string()}}), checked))
            << path;
}
#endif

TEST_F(HostBinaries, NameTheInterfaceVersionOfTheLibrary)
{
    const std::string library = readelf("-dW", tested_build_dir() / "lib/libvinst.so");
    EXPECT_TRUE(holds(library, "Library soname: [libvinst.so.1]")) << library;
    const std::string program = readelf("-dW", tested_build_dir() / "bin/vinst");
    EXPECT_TRUE(holds(program, "Shared library: [libvinst.so.1]")) << program;
}

TEST(HostWindowsBinaries, AreLoadedAtAnyAddressWithoutExecutableData)
{
    if (tested_platform() != "windows")
        GTEST_SKIP() << "these are properties of Windows programs";
    const PATHS binaries = built_binaries();
    ASSERT_FALSE(binaries.empty());
    for (const std::filesystem::path& binary : binaries)
    {
        const std::string headers =
            run_tool({"x86_64-w64-mingw32-objdump", {"-p", binary.string()}});
        for (const char* property : {"HIGH_ENTROPY_VA", "DYNAMIC_BASE", "NX_COMPAT"})
            EXPECT_TRUE(holds(headers, property)) << binary << ' ' << property;
        EXPECT_FALSE(holds(headers, "RELOCS_STRIPPED")) << binary;
    }
}
