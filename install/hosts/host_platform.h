#pragma once

#include <string>
#include <vector>

/// Restricts the directories that libraries are loaded from later. To be called before anything
/// else.
void protect_library_search();

/// The command line as UTF-8, whatever encoding the platform passes to main. Where main gets UTF-8,
/// it is the process's own list, in which the program overwrites secrets.
class HOST_ARGUMENTS
{
public:
    HOST_ARGUMENTS(int argc, char** argv);
    HOST_ARGUMENTS(const HOST_ARGUMENTS&) = delete;
    HOST_ARGUMENTS& operator=(const HOST_ARGUMENTS&) = delete;

    int count() const { return static_cast<int>(m_pointers.size()) - 1; }
    char** pointers() { return m_pointers.data(); }

private:
    std::vector<std::string> m_texts; ///< if they had to be converted
    std::vector<char*> m_pointers;    ///< ends with a null pointer
};
