#pragma once

#include "install/vinst/release/vinst_data.h"
#include "tests/harness/fault_server.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

/// A realistic release of about 1.5 GB that needs little disk space: a file is a sparse hole,
/// preceded by a short script if it is an installer. The server serves every file.
class MADE_UP_RELEASE
{
public:
    /// \param directory  for the manifest; created if missing
    explicit MADE_UP_RELEASE(const std::filesystem::path& directory);

    /// As the program reads it; owned by the caller.
    std::unique_ptr<VINST_RELEASE> load() const;

    /// Writes files to a download directory: complete; truncated to a part of their size; or
    /// complete with wrong content.
    void lay_whole(const std::filesystem::path& directory) const;
    void lay_part(const std::filesystem::path& directory, const std::string& name,
                  int percent) const;
    void lay_wrong(const std::filesystem::path& directory, const std::string& name) const;

    /// Sets the server's fault for a file from now on; without a fault it answers correctly.
    void set_fault(const std::string& name, const FAULT& fault);
    void clear_faults();

private:
    struct PART
    {
        std::string name;
        std::string filename;
        std::string head; ///< the first bytes of the file
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
