#include "tests/harness/pattern.h"

namespace
{

/// Mixes the bits of a counter well enough that no part of the series looks like another.
std::uint64_t mixed(std::uint64_t value)
{
    value += 0x9E3779B97F4A7C15U;
    value = (value ^ (value >> 30U)) * 0xBF58476D1CE4E5B9U;
    value = (value ^ (value >> 27U)) * 0x94D049BB133111EBU;
    return value ^ (value >> 31U);
}

}

void fill_pattern(std::uint64_t seed, std::uint64_t offset, char* into, std::size_t size)
{
    const std::uint64_t start = mixed(seed);
    std::size_t done = 0;
    while (done < size)
    {
        const std::uint64_t word = mixed(start + (offset + done) / 8);
        for (std::uint64_t byte = (offset + done) % 8; byte < 8 && done < size; ++byte)
            into[done++] = static_cast<char>((word >> (byte * 8)) & 0xFFU);
    }
}

std::string pattern(std::uint64_t size, std::uint64_t seed, std::uint64_t offset)
{
    std::string bytes(size, '\0');
    fill_pattern(seed, offset, bytes.data(), bytes.size());
    return bytes;
}
