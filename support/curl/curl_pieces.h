#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Where the pieces of files lie that are fetched ahead of the files' ends.

/// The directory of the pieces, beside the files they belong to. No file may have this name.
inline constexpr const char* curl_piece_directory = ".pieces";

/// Identifies a version of a file in the names of its pieces.
/// \param path       of the file, UTF-8
/// \param size       bytes of the complete file
/// \param validator  its ETag or the time of its last modification
std::string curl_piece_version(const std::string& path, std::uint64_t size,
                               const std::string& validator);

/// A piece on the disk.
struct CURL_STORED_PIECE
{
    std::uint64_t begin = 0; ///< where it begins in the complete file
    std::string path;
};

/// The path of a new, empty piece. Empty when that isn't possible, or when others
/// could change what is in the directory.
std::string curl_piece_path(const std::string& path, const std::string& version,
                            std::uint64_t begin);

/// The pieces of this version of the file, by their beginnings. Those of other versions are
/// removed.
std::vector<CURL_STORED_PIECE> curl_take_over_pieces(const std::string& path,
                                                     const std::string& version);

/// Removes a piece, and the directory with the last one.
void curl_remove_piece(const std::string& piece_path);

/// Removes all pieces of a file.
void curl_remove_pieces(const std::string& path);
