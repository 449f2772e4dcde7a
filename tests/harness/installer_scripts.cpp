#include "tests/harness/installer_scripts.h"

#include "tests/harness/pattern.h"
#include "tests/harness/temp_dir.h"
#include "tests/harness/tested_host.h"

namespace
{

constexpr const char* find_the_directory = R"(#!/bin/sh
arguments="$*"
directory=
while [ $# -gt 0 ]; do
    if [ "$1" = --installdir ]; then
        shift
        directory="$1"
    fi
    shift
done
if [ -z "$directory" ]; then
    echo "no --installdir" >&2
    exit 97
fi
name=$(basename "$0")
mkdir -p "$directory" || exit 98
printf '%s\n' "$arguments" >> "$directory/$name" || exit 98
printf '%s\n' "$name" >> "$directory/install_order" || exit 98
)";

constexpr const char* ready_and_sleep = "echo ready\nwhile :; do sleep 1; done\n";

/// A script for /bin/sh, or poser_script.exe followed by the lines that it reads.
std::string for_host(const std::string& shell_text, const std::string& lines)
{
    if (tested_platform() == "linux")
        return shell_text;
    static const std::string program =
        read_file(tested_build_dir() / "tests/posers/poser_script.exe");
    return program + "\n== what to do ==\n" + lines;
}

}

std::string install_script(int exit_code, const std::map<std::string, std::string>& files)
{
    std::string script = find_the_directory;
    std::string lines = "install\n";
    for (const auto& [path, text] : files)
    {
        const std::string target = "\"$directory/" + path + "\"";
        script.append("mkdir -p \"$(dirname ").append(target).append(")\"\n");
        script.append("cat > ").append(target).append(" <<'END_OF_LAID_DOWN_FILE'\n");
        script.append(text).append("\nEND_OF_LAID_DOWN_FILE\n");
        script.append("chmod 755 ").append(target).append("\n");
        lines += "lay " + std::to_string(text.size()) + " " + path + "\n" + text;
    }
    const std::string code = std::to_string(exit_code) + "\n";
    return for_host(script + "echo \"installed $name\"\nexit " + code,
                    lines + "installed\nexit " + code);
}

std::string main_product_script()
{
    return install_script(
        0, {{"devices/dev_install/dev_install" + tested_installer_suffix(), install_script()}});
}

std::string hanging_script(bool stubborn)
{
    return for_host(std::string("#!/bin/sh\n") + (stubborn ? "trap '' INT TERM\n" : "") +
                        ready_and_sleep,
                    std::string(stubborn ? "stubborn\n" : "") + "ready\nsleep 0\n");
}

std::string hanging_install_script()
{
    return for_host(std::string(find_the_directory) + ready_and_sleep, "install\nready\nsleep 0\n");
}

std::string script_with_lasting_child(int seconds)
{
    const std::string count = std::to_string(seconds);
    return for_host("#!/bin/sh\necho ready\nsleep " + count + " &\nexit 0\n",
                    "ready\nchild " + count + "\nexit 0\n");
}

std::string crashing_script(int signal_number)
{
    return for_host("#!/bin/sh\nkill -" + std::to_string(signal_number) + " $$\n", "crash\n");
}

std::string talking_script(std::uint64_t lines, int exit_code)
{
    const std::string count = std::to_string(lines);
    const std::string code = std::to_string(exit_code) + "\n";
    return for_host("#!/bin/sh\ni=0\nwhile [ $i -lt " + count +
                        " ]; do\n    echo \"line $i of 100%s\"\n"
                        "    echo \"line $i of 100%s\" >&2\n"
                        "    i=$((i + 1))\ndone\nexit " +
                        code,
                    "talk " + count + "\nexit " + code);
}

std::string padded_script(const std::string& script, std::uint64_t size, std::uint64_t seed)
{
    const std::string text = script + "exit 0\n";
    return size <= text.size() ? text : text + pattern(size - text.size(), seed);
}
