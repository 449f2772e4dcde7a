#include "support/fio/fio_reparse.h"

namespace
{

// The values are those of winnt.h.
constexpr std::uint32_t has_reparse_point = 0x400;
constexpr std::uint32_t names_another_place = 0x20000000; // a bit of the tag
// They redirect as well, but their tags lack that bit.
constexpr std::uint32_t application_link = 0x8000001B;
constexpr std::uint32_t linux_link = 0xA000001D;

}

FIO_REPARSE_KIND fio_reparse_kind(std::uint32_t attributes, std::uint32_t tag)
{
    if ((attributes & has_reparse_point) == 0)
        return FIO_REPARSE_KIND::none;
    const bool redirects =
        (tag & names_another_place) != 0 || tag == application_link || tag == linux_link;
    return redirects ? FIO_REPARSE_KIND::redirection : FIO_REPARSE_KIND::stored;
}
