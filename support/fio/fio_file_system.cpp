#include "support/fio/fio_file_system.h"

#include <array>
#include <random>
#include <system_error>

std::string FIO_FILE_SYSTEM::get_tmp_path(const std::string& dir)
{
    constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyz0123456789";
    std::random_device random;
    std::uniform_int_distribution<std::size_t> any_letter(0, letters.size() - 1);
    for (;;)
    {
        std::string name = "vinst_";
        for (int i = 0; i < 16; ++i)
            name += letters[any_letter(random)];
        const std::string path = (fio_path(dir) / name).u8string();
        if (!exists(path))
            return path;
    }
}

bool FIO_FILE_SYSTEM::chmod(const std::string& path, int mode)
{
    const auto wanted = static_cast<std::filesystem::perms>(mode);
    std::error_code error;
    // Setting the same mode again would look like a change to whoever is verifying the file.
    if (std::filesystem::status(fio_path(path), error).permissions() == wanted)
        return true;
    std::filesystem::permissions(fio_path(path), wanted, error);
    return !error;
}

bool FIO_FILE_SYSTEM::move(const std::string& from, const std::string& to, bool overwrite)
{
    if (!identity(from) || (!overwrite && exists(to)))
        return false;
    const RENAMING renaming = rename(fio_path(from), fio_path(to), overwrite);
    if (renaming != RENAMING::other_file_system)
        return renaming == RENAMING::done;

    // Copy to a temporary file next to the target first, so that the target is never incomplete.
    const FIO_PATH parent = fio_path(to).parent_path();
    const std::string copy = get_tmp_path(parent.empty() ? "." : parent.u8string());
    if (!create_private_file(copy))
        return false;
    const bool moved = copy_content(fio_path(from), fio_path(copy)) &&
                       rename(fio_path(copy), fio_path(to), overwrite) == RENAMING::done;
    remove_if_exists(moved ? from : copy);
    return moved;
}
