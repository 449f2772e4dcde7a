#pragma once

#include <QJsonValue>
#include <QString>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

/// The keys of a manifest element in order, each with its value as JSON text.
using MANIFEST_KEYS = std::vector<std::pair<std::string, std::string>>;

/// One component of a release that is being built. By default it is a working installer for the
/// tested platform (see installer_scripts.h), selected, with a title and a description.
class COMPONENT_BUILDER
{
public:
    explicit COMPONENT_BUILDER(const std::string& name);

    COMPONENT_BUILDER& data_type(const std::string& text); ///< "download" by default
    COMPONENT_BUILDER& platform(const std::string& text);  ///< the tested one by default
    COMPONENT_BUILDER& filename(const std::string& text);  ///< the name and ".run" by default
    COMPONENT_BUILDER& title(const std::string& text);
    COMPONENT_BUILDER& desc(const std::string& text);
    COMPONENT_BUILDER& parent(const std::string& name);
    COMPONENT_BUILDER& depends_on(const std::vector<std::string>& names);
    COMPONENT_BUILDER& selected(bool yes);
    COMPONENT_BUILDER& standalone(bool yes = true);
    COMPONENT_BUILDER& addon(bool yes = true);
    COMPONENT_BUILDER& cmd_exe(const std::string& text);
    COMPONENT_BUILDER& cmd_options(const std::string& text);
    COMPONENT_BUILDER& installsize(std::uint64_t bytes); ///< twice the file's by default

    // The file's content.
    COMPONENT_BUILDER& content(std::string bytes);
    COMPONENT_BUILDER& pattern_content(std::uint64_t size, std::uint64_t seed); ///< see pattern.h
    COMPONENT_BUILDER& no_file(); ///< a group: an empty file name, no sizes and checksums

    /// Sets any key to any value, after all others: for invalid manifests. Use raw_key for integers
    /// beyond 2^53.
    COMPONENT_BUILDER& key(const std::string& name, const QJsonValue& value);
    COMPONENT_BUILDER& raw_key(const std::string& name, const std::string& json_text);
    COMPONENT_BUILDER& drop_key(const std::string& name);

private:
    friend class RELEASE_BUILDER;

    std::string m_name, m_data_type = "download", m_platform, m_filename, m_title, m_desc;
    std::string m_parent, m_cmd_exe, m_cmd_options;
    std::vector<std::string> m_dependencies;
    bool m_selected = true, m_standalone = false, m_addon = false;
    std::int64_t m_installsize = -1;
    std::string m_content;
    std::uint64_t m_pattern_size = 0, m_pattern_seed = 0; ///< a size above 0 replaces the content
    std::vector<std::pair<std::string, std::string>> m_overrides; ///< an empty text removes the key
};

/// A file of a release as written, with its size and checksums.
struct RELEASE_FILE
{
    std::string component; ///< empty for the connection-test file
    std::filesystem::path path;
    std::uint64_t size = 0;
    std::string md5, sha1; ///< lower-case hexadecimal
};

/// Builds a release in a directory: the components' files, the connection-test file and
/// manifest.json. The directory can be served before it is written, so that the addresses are
/// known.
class RELEASE_BUILDER
{
public:
    explicit RELEASE_BUILDER(std::filesystem::path directory);

    RELEASE_BUILDER& edition(const std::string& text); ///< "pro" by default
    RELEASE_BUILDER& version(const std::string& text); ///< "5.2.0.31" by default
    RELEASE_BUILDER& download_url(const std::string& url);
    /// The address is `base_url`, "/" and the name; the file is written with this content.
    RELEASE_BUILDER& test_file(const std::string& base_url, const std::string& name = "test.txt",
                               const std::string& content = "connection test\n");
    RELEASE_BUILDER& installdir_linux(const std::string& text);
    RELEASE_BUILDER& installdir_windows(const std::string& text);
    RELEASE_BUILDER& key(const std::string& name, const QJsonValue& value);
    RELEASE_BUILDER& raw_key(const std::string& name, const std::string& json_text);
    RELEASE_BUILDER& drop_key(const std::string& name);

    /// The component with that name, created by the first call; valid as long as the builder.
    COMPONENT_BUILDER& component(const std::string& name);
    /// Adds another one, possibly with the same name (e.g. for another platform).
    COMPONENT_BUILDER& new_component(const std::string& name);
    /// Adds any other element after all components.
    RELEASE_BUILDER& raw_element(const std::string& json_text);

    /// Writes everything and returns the manifest's path. May be called again after changes.
    std::filesystem::path write();
    /// Writes the manifest outside the directory of the files.
    std::filesystem::path write(const std::filesystem::path& manifest);

    [[nodiscard]] const std::filesystem::path& directory() const { return m_directory; }
    /// From the last write; throws std::out_of_range for a component without a file.
    [[nodiscard]] const RELEASE_FILE& file(const std::string& component) const;
    [[nodiscard]] const std::vector<RELEASE_FILE>& files() const { return m_files; }

private:
    MANIFEST_KEYS main_keys();
    MANIFEST_KEYS component_keys(const COMPONENT_BUILDER& component);

    std::filesystem::path m_directory;
    std::string m_edition = "pro", m_version = "5.2.0.31", m_download_url;
    std::string m_test_url, m_test_name, m_test_content, m_installdir_linux, m_installdir_windows;
    std::vector<std::pair<std::string, std::string>> m_overrides;
    std::deque<COMPONENT_BUILDER> m_components;
    std::vector<std::string> m_raw_elements;
    std::vector<RELEASE_FILE> m_files;
};
