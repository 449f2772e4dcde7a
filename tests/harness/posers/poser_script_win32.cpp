/// Acts as any installer that a test needs: executes the lines that are appended to its program
/// file. For platforms whose installers can't be scripts. The lines:
///
///     install            does what poser_install does, and continues
///     lay SIZE PATH      installs, in the directory after --installdir, a file with the SIZE
///                        bytes that follow this line
///     installed          writes "installed NAME"
///     ready              writes "ready"
///     talk LINES         writes LINES lines "line N of 100%s" to both outputs
///     child SECONDS      starts itself again, to sleep that long
///     sleep SECONDS      "sleep 0" sleeps forever
///     stubborn           ignores requests to end
///     crash              reads from an invalid address
///     exit CODE

#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <windows.h>

namespace fs = std::filesystem;

namespace
{

/// In two parts, so that the program file doesn't contain it.
const std::string mark = std::string("\n== what to ") + "do ==\n";

struct INSTALLER
{
    fs::path self;
    std::vector<std::string> arguments;
    fs::path directory; ///< after --installdir
};

fs::path own_path()
{
    wchar_t path[4096];
    ::GetModuleFileNameW(nullptr, path, 4096);
    return path;
}

bool append(const fs::path& file, const std::string& text)
{
    std::ofstream stream(file, std::ios::app | std::ios::binary);
    stream << text << '\n';
    return static_cast<bool>(stream.flush());
}

void install(const INSTALLER& installer)
{
    std::string all;
    for (const std::string& argument : installer.arguments)
        all += (all.empty() ? "" : " ") + argument;
    if (installer.directory.empty())
    {
        std::cerr << "no --installdir\n";
        std::exit(97);
    }
    const std::string name = installer.self.filename().string();
    std::error_code error;
    fs::create_directories(installer.directory, error);
    if (!append(installer.directory / name, all) ||
        !append(installer.directory / "install_order", name))
        std::exit(98);
}

void lay_down(const INSTALLER& installer, std::istream& lines, std::istringstream& rest)
{
    std::size_t size = 0;
    std::string path;
    rest >> size >> std::ws;
    std::getline(rest, path);
    std::string text(size, '\0');
    lines.read(text.data(), static_cast<std::streamsize>(size));
    fs::create_directories((installer.directory / path).parent_path());
    std::ofstream file(installer.directory / path, std::ios::binary);
    file << text;
}

void start_child(int seconds)
{
    std::wstring command = L"\"" + own_path().native() + L"\" --child " + std::to_wstring(seconds);
    STARTUPINFOW how = {};
    how.cb = sizeof how;
    PROCESS_INFORMATION started = {};
    ::CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &how,
                     &started);
}

void sleep_for(int seconds)
{
    for (int passed = 0; seconds == 0 || passed < seconds; ++passed)
        std::this_thread::sleep_for(std::chrono::seconds(1));
}

BOOL WINAPI pay_no_heed(DWORD)
{
    return TRUE;
}

int run(const INSTALLER& installer, std::istream& lines)
{
    for (std::string line; std::getline(lines, line);)
    {
        std::istringstream rest(line);
        std::string what;
        int number = 0;
        rest >> what;
        if (what == "lay")
        {
            lay_down(installer, lines, rest);
            continue;
        }
        rest >> number;
        if (what == "install")
            install(installer);
        else if (what == "installed")
            std::cout << "installed " << installer.self.filename().string() << std::endl;
        else if (what == "ready")
            std::cout << "ready" << std::endl;
        else if (what == "talk")
        {
            for (int i = 0; i < number; ++i)
            {
                std::cout << "line " << i << " of 100%s" << std::endl;
                std::cerr << "line " << i << " of 100%s" << std::endl;
            }
        }
        else if (what == "child")
            start_child(number);
        else if (what == "sleep")
            sleep_for(number);
        else if (what == "stubborn")
            ::SetConsoleCtrlHandler(pay_no_heed, TRUE);
        else if (what == "crash")
            ::RaiseException(EXCEPTION_ACCESS_VIOLATION, 0, 0, nullptr);
        else if (what == "exit")
            return number;
    }
    return 0;
}

}

int main(int count, char** arguments)
{
    INSTALLER installer;
    installer.self = own_path();
    installer.arguments.assign(arguments + 1, arguments + count);
    if (count == 3 && installer.arguments[0] == "--child")
        return sleep_for(std::stoi(installer.arguments[1])), 0;
    for (std::size_t i = 0; i + 1 < installer.arguments.size(); ++i)
        if (installer.arguments[i] == "--installdir")
            installer.directory = fs::path(installer.arguments[i + 1]);

    std::ifstream stream(installer.self, std::ios::binary);
    const std::string all((std::istreambuf_iterator<char>(stream)),
                          std::istreambuf_iterator<char>());
    const std::size_t at = all.find(mark);
    std::istringstream lines(at == std::string::npos ? "" : all.substr(at + mark.size()));
    return run(installer, lines);
}
