#include "install/hosts/host_platform.h"

#include <memory>

#include <windows.h>

#include <shellapi.h>

namespace
{

std::string utf8(const wchar_t* wide)
{
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, wide, -1, nullptr, 0, nullptr, nullptr);
    std::string text(static_cast<std::size_t>(size > 0 ? size : 1), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, wide, -1, text.data(), size, nullptr, nullptr);
    text.pop_back(); // the terminating null character
    return text;
}

struct LOCAL_DELETER
{
    void operator()(wchar_t** memory) const { ::LocalFree(memory); }
};

}

void protect_library_search()
{
    ::SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_APPLICATION_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32);
}

HOST_ARGUMENTS::HOST_ARGUMENTS(int argc, char** argv)
{
    int count = 0;
    const std::unique_ptr<wchar_t*, LOCAL_DELETER> wide(
        ::CommandLineToArgvW(::GetCommandLineW(), &count));
    if (wide == nullptr)
        m_texts.assign(argv, argv + argc);
    else
        for (int i = 0; i < count; ++i)
            m_texts.push_back(utf8(wide.get()[i]));
    for (std::string& text : m_texts)
        m_pointers.push_back(text.data());
    m_pointers.push_back(nullptr);
}
