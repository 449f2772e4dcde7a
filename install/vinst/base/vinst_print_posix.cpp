#include "install/vinst/base/vinst_print_platform.h"

#include <cerrno>
#include <unistd.h>

void write_to_standard_output(std::string_view text)
{
    while (!text.empty())
    {
        const ssize_t written = ::write(STDOUT_FILENO, text.data(), text.size());
        if (written < 0 && errno != EINTR)
            return;
        text.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
    }
}
