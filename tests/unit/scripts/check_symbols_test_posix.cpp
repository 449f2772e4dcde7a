#include "tests/harness/child_process.h"
#include "tests/harness/temp_dir.h"

#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>
#include <string>
#include <vector>

using namespace std::chrono_literals;

namespace
{

/// Libraries that need a function of a glibc whose version is planted.
class CheckSymbols : public ::testing::Test
{
protected:
    /// \param version  of the only symbol that the library imports, as in "GLIBC_2.31"
    void plant(const std::string& library, const std::string& version)
    {
        dir.write("glibc.c", "void planted(void) {}\n");
        dir.write("glibc.map", version + " { planted; };\n");
        dir.write("library.c", "void planted(void);\nvoid user(void) { planted(); }\n");
        compile({"-Wl,-soname,libc.so.6", "-Wl,--version-script=" + (dir / "glibc.map").string(),
                 (dir / "glibc.c").string(), "-o", (dir / "libc.so.6").string()});
        dir.make_dir("tree");
        compile({(dir / "library.c").string(), (dir / "libc.so.6").string(), "-o",
                 (dir / "tree" / library).string()});
    }

    /// What the script prints about the directory "tree"; empty if it accepts it.
    std::string check(const std::string& glibc)
    {
        CHILD_PROCESS script({VINST_TEST_SOURCE_DIR "/packaging/linux/check_symbols.sh",
                              {(dir / "tree").string(), glibc}});
        const bool is_accepted = script.wait(300s).value().exit_code == 0;
        EXPECT_EQ(is_accepted, script.errors().empty()) << script.errors();
        return script.errors();
    }

    TEMP_DIR dir;

private:
    static void compile(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), {"-shared", "-fPIC", "-nostdlib"});
        CHILD_PROCESS compiler({"/usr/bin/cc", arguments});
        if (compiler.wait(300s).value().exit_code != 0)
            throw std::runtime_error(compiler.errors());
    }
};

TEST_F(CheckSymbols, AcceptsSymbolsOfTheVersionAndOlderOnes)
{
    plant("exact.so", "GLIBC_2.31");
    plant("older.so", "GLIBC_2.4");
    EXPECT_EQ(check("2.31"), "");
}

TEST_F(CheckSymbols, FindsASymbolOfANewerVersion)
{
    plant("older.so", "GLIBC_2.4");
    plant("newer.so", "GLIBC_2.32");
    EXPECT_EQ(check("2.31"), (dir / "tree/newer.so").string() +
                                 " needs GLIBC_2.32\n"
                                 "check_symbols.sh: glibc 2.31 does not have the symbols above\n");
    EXPECT_EQ(check("2.32"), "");
}

TEST_F(CheckSymbols, FindsNamesThatAreNoVersions)
{
    plant("private.so", "GLIBC_PRIVATE");
    EXPECT_NE(check("2.99").find("private.so needs GLIBC_PRIVATE\n"), std::string::npos);
}

TEST_F(CheckSymbols, FailsIfThereIsNothingToRead)
{
    dir.write("tree/text", "no program");
    EXPECT_EQ(check("2.31"),
              "check_symbols.sh: there are no programs in " + (dir / "tree").string() + "\n");
}

}
