#pragma once

#include "install/vinst/release/vinst_data.h"
#include "tests/harness/fault_server.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

/// A release of some 1.5 GB that looks like one and of which hardly a byte exists: a file is a
/// short script, where it is an installer, and then a hole. The server answers for every file.
class MADE_UP_RELEASE
{
public:
    /// \param directory  for the manifest; made if it is not there
    explicit MADE_UP_RELEASE(const std::filesystem::path& directory);

    /// As the program reads it; owned by the caller.
    std::unique_ptr<VINST_RELEASE> load() const;

    /// Lays files into a download directory: whole; cut to a part of their size; or whole with
    /// wrong content.
    void lay_whole(const std::filesystem::path& directory) const;
    void lay_part(const std::filesystem::path& directory, const std::string& name,
                  int percent) const;
    void lay_wrong(const std::filesystem::path& directory, const std::string& name) const;

    /// How the server answers for a file from now on; by none, well.
    void set_fault(const std::string& name, const FAULT& fault);
    void clear_faults();

private:
    struct PART
    {
        std::string name;
        std::string filename;
        std::string head; ///< what the file begins with
        std::uint64_t size;
        std::string md5;
    };

    void add_files();
    void write_manifest();
    const PART& part(const std::string& name) const;

    std::filesystem::path m_directory;
    FAULT_SERVER m_server;
    std::vector<PART> m_parts;
};
