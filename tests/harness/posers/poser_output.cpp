/// Acts as an installer with much output: writes as many bytes to the standard output as its first
/// argument says, and to the standard error as its second says, in lines with percent signs.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace
{

bool talk(std::FILE* stream, unsigned long long size)
{
    const std::string line = "Unpacking 100% of %s and %n, 5%d done\n";
    while (size > 0)
    {
        const std::size_t part = std::min<unsigned long long>(size, line.size());
        if (std::fwrite(line.data(), 1, part, stream) != part)
            return false;
        size -= part;
    }
    return std::fflush(stream) == 0;
}

}

int main(int count, char** arguments)
{
    const auto size = [count, arguments](int index)
    { return index < count ? std::strtoull(arguments[index], nullptr, 10) : 0ULL; };
    return talk(stdout, size(1)) && talk(stderr, size(2)) ? 0 : 1;
}
