#include "install/vinst/base/vinst_print_platform.h"

#include <cerrno>
#include <poll.h>
#include <unistd.h>

namespace
{

/// Another program may have made the terminal or pipe non-blocking. Also returns on an error, which
/// the next write reports.
void wait_until_writable()
{
    pollfd output{STDOUT_FILENO, POLLOUT, 0};
    ::poll(&output, 1, -1);
}

}

void write_to_standard_output(std::string_view text)
{
    while (!text.empty())
    {
        const ssize_t written = ::write(STDOUT_FILENO, text.data(), text.size());
        if (written >= 0)
            text.remove_prefix(static_cast<std::size_t>(written));
        else if (errno == EAGAIN)
            wait_until_writable();
        else if (errno != EINTR)
            return;
    }
}
