#pragma once

#include <cstdint>

/// What a file or directory on Windows is that has a reparse tag.
enum class FIO_REPARSE_KIND
{
    none,       ///< it has no tag
    stored,     ///< its content is kept elsewhere, such as in a cloud or deduplicated
    redirection ///< it leads to another place: a link, a junction, a mounted volume
};

/// \param attributes  as from GetFileAttributes
/// \param tag         as in FILE_ATTRIBUTE_TAG_INFO; only valid with the attribute of a reparse
/// point
FIO_REPARSE_KIND fio_reparse_kind(std::uint32_t attributes, std::uint32_t tag);
