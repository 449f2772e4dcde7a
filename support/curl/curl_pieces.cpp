#include "support/curl/curl_pieces.h"

#include "support/fio/fio_file_system.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>

namespace fs = std::filesystem;

namespace
{

// A name is "FILE-VERSION-BEGIN": two hash values of 16 hexadecimal digits and a decimal number, so
// that it has a fixed length whatever the name of the file.
constexpr std::size_t hash_length = 16;
constexpr std::size_t version_length = 2 * hash_length + 1;

/// FNV-1a, which is the same on every platform.
std::string hash_text(std::string_view text)
{
    constexpr std::uint64_t prime = 1099511628211U;
    std::uint64_t hash = 14695981039346656037U;
    for (const char c : text)
        hash = (hash ^ static_cast<unsigned char>(c)) * prime;
    std::array<char, hash_length> digits{};
    for (std::size_t i = hash_length; i-- > 0; hash >>= 4U)
        digits[i] = "0123456789abcdef"[hash & 0xFU];
    return {digits.begin(), digits.end()};
}

std::string file_hash(const std::string& path)
{
    return hash_text(fio_path(path).filename().u8string());
}

fs::path directory_of(const std::string& path)
{
    return fio_path(path).parent_path() / curl_piece_directory;
}

std::optional<std::uint64_t> beginning_in(std::string_view name)
{
    std::uint64_t begin = 0;
    if (name.size() <= version_length || name[version_length] != '-')
        return std::nullopt;
    name.remove_prefix(version_length + 1);
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), begin);
    if (error != std::errc() || end != name.data() + name.size())
        return std::nullopt;
    return begin;
}

std::vector<fs::path> pieces_of(const std::string& path)
{
    std::vector<fs::path> found;
    if (!FIO_FILE_SYSTEM::is_own_directory(directory_of(path).u8string()))
        return found;
    const std::string start = file_hash(path) + '-';
    std::error_code error;
    for (fs::directory_iterator entry(directory_of(path), error), end; !error && entry != end;
         entry.increment(error))
        if (entry->path().filename().u8string().compare(0, start.size(), start) == 0)
            found.push_back(entry->path());
    return found;
}

}

std::string curl_piece_version(const std::string& path, std::uint64_t size,
                               const std::string& validator)
{
    return file_hash(path) + '-' + hash_text(std::to_string(size) + ' ' + validator);
}

std::string curl_piece_path(const std::string& path, const std::string& version,
                            std::uint64_t begin)
{
    const fs::path directory = directory_of(path);
    FIO_FILE_SYSTEM::create_private_directory(directory.u8string());
    if (!FIO_FILE_SYSTEM::is_own_directory(directory.u8string()))
        return {};
    const std::string piece = (directory / (version + '-' + std::to_string(begin))).u8string();
    // Created now, so that nobody removes the directory before the first byte arrives.
    return FIO_FILE_SYSTEM::create_private_file(piece) || FIO_FILE_SYSTEM::exists(piece)
               ? piece
               : std::string();
}

std::vector<CURL_STORED_PIECE> curl_take_over_pieces(const std::string& path,
                                                     const std::string& version)
{
    std::vector<CURL_STORED_PIECE> pieces;
    for (const fs::path& piece : pieces_of(path))
    {
        const std::string name = piece.filename().u8string();
        const std::optional<std::uint64_t> begin = beginning_in(name);
        if (begin && name.compare(0, version.size(), version) == 0)
            pieces.push_back({*begin, piece.u8string()});
        else
            curl_remove_piece(piece.u8string());
    }
    std::sort(pieces.begin(), pieces.end(),
              [](const auto& a, const auto& b) { return a.begin < b.begin; });
    return pieces;
}

void curl_remove_piece(const std::string& piece_path)
{
    FIO_FILE_SYSTEM::remove_if_exists(piece_path);
    const fs::path directory = fio_path(piece_path).parent_path();
    std::error_code not_empty;
    if (FIO_FILE_SYSTEM::is_own_directory(directory.u8string()))
        fs::remove(directory, not_empty);
}

void curl_remove_pieces(const std::string& path)
{
    for (const fs::path& piece : pieces_of(path))
        curl_remove_piece(piece.u8string());
}
