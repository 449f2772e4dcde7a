#pragma once

/// Installs the process's out-of-memory handler. Constructed once, when the library is loaded.
class MEM_INITIALIZER
{
public:
    MEM_INITIALIZER() noexcept;
};
