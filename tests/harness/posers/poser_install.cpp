/// Acts as a working installer: installs, in the directory after --installdir, a file with its own
/// file name and one line per run, its arguments joined by blanks, and adds its name to
/// "install_order" there. It ignores other options.

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>

namespace fs = std::filesystem;

int main(int count, char** arguments)
{
    fs::path directory;
    std::string all;
    for (int index = 1; index < count; ++index)
    {
        all += (all.empty() ? "" : " ") + std::string(arguments[index]);
        if (std::strcmp(arguments[index], "--installdir") == 0 && index + 1 < count)
            directory = arguments[index + 1];
    }
    if (directory.empty())
    {
        std::cerr << "no --installdir\n";
        return 97;
    }
    const std::string name = fs::path(arguments[0]).filename().string();
    std::error_code error;
    fs::create_directories(directory, error);
    std::ofstream laid_down(directory / name, std::ios::app);
    laid_down << all << '\n';
    std::ofstream order(directory / "install_order", std::ios::app);
    order << name << '\n';
    if (!laid_down.flush() || !order.flush())
        return 98;
    std::cout << "installed " << name << '\n';
    return 0;
}
