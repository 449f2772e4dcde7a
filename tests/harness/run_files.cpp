#include "tests/harness/run_files.h"

#include "tests/harness/temp_dir.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <system_error>

std::uintmax_t size_of_file(const std::filesystem::path& path)
{
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    return error ? 0 : size;
}

bool any_file_holds(const std::filesystem::path& directory, const std::string& text)
{
    const std::vector<std::string> names = list_tree(directory);
    return std::any_of(names.begin(), names.end(),
                       [&](const std::string& name)
                       {
                           if (name.back() == '/')
                               return false;
                           std::ifstream file(directory / name);
                           const std::string held{std::istreambuf_iterator<char>(file), {}};
                           return held.find(text) != std::string::npos;
                       });
}

std::vector<std::string> temporary_files_in(const std::filesystem::path& directory)
{
    std::vector<std::string> names = list_tree(directory);
    names.erase(std::remove_if(names.begin(), names.end(),
                               [](const std::string& name)
                               { return name.rfind("vinst_", 0) != 0; }),
                names.end());
    return names;
}
