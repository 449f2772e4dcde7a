#include "install/vinst/base/vinst_print_platform.h"
#include "install/vinst/base/vinst_text.h"

#include <cstdio>

#include <io.h>

namespace
{

/// The C library converts line ends in a buffer of limited size. A console shows no character whose
/// bytes are in two pieces.
constexpr std::size_t longest_piece = 4096; // bytes

}

void write_to_standard_output(std::string_view text)
{
    const int output = ::_fileno(stdout);
    if (output < 0)
        return; // a windowed program has none
    while (!text.empty())
    {
        const std::string_view piece = utf8_piece(text, longest_piece);
        if (::_write(output, piece.data(), static_cast<unsigned>(piece.size())) < 0)
            return;
        text.remove_prefix(piece.size());
    }
}
