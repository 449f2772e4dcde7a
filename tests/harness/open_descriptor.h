#pragma once

#include <fcntl.h>
#include <unistd.h>

/// A descriptor of this process that child processes would inherit, as a library may open it.
class OPEN_DESCRIPTOR
{
public:
    OPEN_DESCRIPTOR() : m_descriptor(::open("/dev/null", O_RDONLY)) {}
    ~OPEN_DESCRIPTOR() { ::close(m_descriptor); }
    OPEN_DESCRIPTOR(const OPEN_DESCRIPTOR&) = delete;
    OPEN_DESCRIPTOR& operator=(const OPEN_DESCRIPTOR&) = delete;

private:
    int m_descriptor;
};
