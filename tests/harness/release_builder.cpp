#include "tests/harness/release_builder.h"

#include "tests/harness/installer_scripts.h"
#include "tests/harness/pattern.h"
#include "tests/harness/temp_dir.h"
#include "tests/harness/tested_host.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <algorithm>
#include <fstream>
#include <functional>
#include <stdexcept>

namespace fs = std::filesystem;

namespace
{

std::string json_text(const QJsonValue& value)
{
    // QJsonDocument accepts only arrays and objects at the top level.
    const QByteArray array = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return array.mid(1, array.size() - 2).toStdString();
}

std::string json_text(const std::string& text)
{
    return json_text(QJsonValue(QString::fromStdString(text)));
}

std::string json_text(const std::vector<std::string>& texts)
{
    QJsonArray array;
    for (const std::string& text : texts)
        array.append(QString::fromStdString(text));
    return json_text(QJsonValue(array));
}

std::string element_text(const MANIFEST_KEYS& keys)
{
    std::string text;
    for (const auto& [name, value] : keys)
    {
        text += text.empty() ? "  {" : ",\n   ";
        text += json_text(name) + ": " + value;
    }
    return text.empty() ? "  {}" : text + "}";
}

void override_keys(MANIFEST_KEYS& keys,
                   const std::vector<std::pair<std::string, std::string>>& overrides)
{
    for (const auto& [name, value] : overrides)
    {
        const std::string& wanted = name;
        const auto place = std::find_if(keys.begin(), keys.end(),
                                        [&wanted](const auto& key) { return key.first == wanted; });
        if (value.empty() && place != keys.end())
            keys.erase(place);
        else if (place != keys.end())
            place->second = value;
        else if (!value.empty())
            keys.emplace_back(name, value);
    }
}

/// Human-readable size: in units of 1024 with one decimal.
std::string size_text(std::uint64_t bytes)
{
    constexpr const char* units[] = {"bytes", "KB", "MB", "GB", "TB"};
    std::size_t unit = 0;
    std::uint64_t tenths = bytes * 10;
    for (; tenths >= 10240 && unit < 4; ++unit)
        tenths /= 1024;
    const std::string decimal = unit == 0 ? "" : "." + std::to_string(tenths % 10);
    return std::to_string(tenths / 10) + decimal + " " + units[unit];
}

/// Writes a file in blocks and computes its size and checksums.
RELEASE_FILE write_measured(const fs::path& path, std::uint64_t size,
                            const std::function<std::string(std::uint64_t, std::size_t)>& part)
{
    constexpr std::uint64_t block = 1024 * 1024;
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    QCryptographicHash md5(QCryptographicHash::Md5);
    QCryptographicHash sha1(QCryptographicHash::Sha1);
    for (std::uint64_t done = 0; done < size; done += block)
    {
        const std::string bytes =
            part(done, static_cast<std::size_t>(std::min(block, size - done)));
        md5.addData(bytes.data(), static_cast<int>(bytes.size()));
        sha1.addData(bytes.data(), static_cast<int>(bytes.size()));
        stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    stream.close();
    if (!stream)
        throw std::runtime_error("cannot write " + path.string());
    return {"", path, size, md5.result().toHex().toStdString(),
            sha1.result().toHex().toStdString()};
}

RELEASE_FILE write_measured(const fs::path& path, const std::string& content)
{
    return write_measured(path, content.size(),
                          [&content](std::uint64_t offset, std::size_t size)
                          { return content.substr(offset, size); });
}

}

COMPONENT_BUILDER::COMPONENT_BUILDER(const std::string& name)
    : m_name(name), m_platform(tested_platform()), m_filename(name + ".run"),
      m_title("The " + name + " part"), m_desc("What " + name + " is good for"),
      m_content(install_script())
{
}

COMPONENT_BUILDER& COMPONENT_BUILDER::data_type(const std::string& text)
{
    m_data_type = text;
    return *this;
}

COMPONENT_BUILDER& COMPONENT_BUILDER::platform(const std::string& text)
{
    m_platform = text;
    return *this;
}

COMPONENT_BUILDER& COMPONENT_BUILDER::filename(const std::string& text)
{
    m_filename = text;
    return *this;
}

COMPONENT_BUILDER& COMPONENT_BUILDER::title(const std::string& text)
{
    m_title = text;
    return *this;
}

COMPONENT_BUILDER& COMPONENT_BUILDER::desc(const std::string& text)
{
    m_desc = text;
    return *this;
}

COMPONENT_BUILDER& COMPONENT_BUILDER::parent(const std::string& name)
{
    m_parent = name;
    return *this;
}

COMPONENT_BUILDER& COMPONENT_BUILDER::depends_on(const std::vector<std::string>& names)
{
    m_dependencies = names;
    return *this;
}

COMPONENT_BUILDER& COMPONENT_BUILDER::selected(bool yes)
{
    m_selected = yes;
    return *this;
}

COMPONENT_BUILDER& COMPONENT_BUILDER::standalone(bool yes)
{
    m_standalone = yes;
    return *this;
}

COMPONENT_BUILDER& COMPONENT_BUILDER::addon(bool yes)
{
    m_addon = yes;
    return *this;
}

COMPONENT_BUILDER& COMPONENT_BUILDER::cmd_exe(const std::string& text)
{
    m_cmd_exe = text;
    return *this;
}

COMPONENT_BUILDER& COMPONENT_BUILDER::cmd_options(const std::string& text)
{
    m_cmd_options = text;
    return *this;
}

COMPONENT_BUILDER& COMPONENT_BUILDER::installsize(std::uint64_t bytes)
{
    m_installsize = static_cast<std::int64_t>(bytes);
    return *this;
}

COMPONENT_BUILDER& COMPONENT_BUILDER::content(std::string bytes)
{
    m_content = std::move(bytes);
    m_pattern_size = 0;
    return *this;
}

COMPONENT_BUILDER& COMPONENT_BUILDER::pattern_content(std::uint64_t size, std::uint64_t seed)
{
    m_content.clear();
    m_pattern_size = size;
    m_pattern_seed = seed;
    return *this;
}

COMPONENT_BUILDER& COMPONENT_BUILDER::no_file()
{
    m_filename.clear();
    return *this;
}

COMPONENT_BUILDER& COMPONENT_BUILDER::key(const std::string& name, const QJsonValue& value)
{
    return raw_key(name, json_text(value));
}

COMPONENT_BUILDER& COMPONENT_BUILDER::raw_key(const std::string& name, const std::string& json)
{
    m_overrides.emplace_back(name, json);
    return *this;
}

COMPONENT_BUILDER& COMPONENT_BUILDER::drop_key(const std::string& name)
{
    return raw_key(name, "");
}

RELEASE_BUILDER::RELEASE_BUILDER(fs::path directory) : m_directory(std::move(directory))
{
    fs::create_directories(m_directory);
}

RELEASE_BUILDER& RELEASE_BUILDER::edition(const std::string& text)
{
    m_edition = text;
    return *this;
}

RELEASE_BUILDER& RELEASE_BUILDER::version(const std::string& text)
{
    m_version = text;
    return *this;
}

RELEASE_BUILDER& RELEASE_BUILDER::download_url(const std::string& url)
{
    m_download_url = url;
    return *this;
}

RELEASE_BUILDER& RELEASE_BUILDER::test_file(const std::string& base_url, const std::string& name,
                                            const std::string& content)
{
    m_test_url = base_url + "/" + name;
    m_test_name = name;
    m_test_content = content;
    return *this;
}

RELEASE_BUILDER& RELEASE_BUILDER::installdir_linux(const std::string& text)
{
    m_installdir_linux = text;
    return *this;
}

RELEASE_BUILDER& RELEASE_BUILDER::installdir_windows(const std::string& text)
{
    m_installdir_windows = text;
    return *this;
}

RELEASE_BUILDER& RELEASE_BUILDER::key(const std::string& name, const QJsonValue& value)
{
    return raw_key(name, json_text(value));
}

RELEASE_BUILDER& RELEASE_BUILDER::raw_key(const std::string& name, const std::string& json)
{
    m_overrides.emplace_back(name, json);
    return *this;
}

RELEASE_BUILDER& RELEASE_BUILDER::drop_key(const std::string& name)
{
    return raw_key(name, "");
}

COMPONENT_BUILDER& RELEASE_BUILDER::component(const std::string& name)
{
    for (COMPONENT_BUILDER& present : m_components)
    {
        if (present.m_name == name)
            return present;
    }
    return new_component(name);
}

COMPONENT_BUILDER& RELEASE_BUILDER::new_component(const std::string& name)
{
    return m_components.emplace_back(name);
}

RELEASE_BUILDER& RELEASE_BUILDER::raw_element(const std::string& json)
{
    m_raw_elements.push_back(json);
    return *this;
}

MANIFEST_KEYS RELEASE_BUILDER::main_keys()
{
    MANIFEST_KEYS keys = {{"data_type", json_text(std::string("main"))},
                          {"edition", json_text(m_edition)},
                          {"version", json_text(m_version)}};
    if (!m_download_url.empty())
        keys.emplace_back("download_url", json_text(m_download_url));
    if (!m_test_url.empty())
    {
        m_files.push_back(write_measured(m_directory / m_test_name, m_test_content));
        keys.emplace_back("test_url", json_text(m_test_url));
        keys.emplace_back("test_md5sum", json_text(m_files.back().md5));
    }
    if (!m_installdir_linux.empty())
        keys.emplace_back("installdir_linux", json_text(m_installdir_linux));
    if (!m_installdir_windows.empty())
        keys.emplace_back("installdir_windows", json_text(m_installdir_windows));
    override_keys(keys, m_overrides);
    return keys;
}

MANIFEST_KEYS RELEASE_BUILDER::component_keys(const COMPONENT_BUILDER& component)
{
    MANIFEST_KEYS keys = {{"data_type", json_text(component.m_data_type)},
                          {"name", json_text(component.m_name)},
                          {"platform", json_text(component.m_platform)},
                          {"filename", json_text(component.m_filename)},
                          {"title", json_text(component.m_title)},
                          {"desc", json_text(component.m_desc)}};
    if (!component.m_filename.empty())
    {
        // Nothing is written outside the directory, whatever the manifest contains.
        const fs::path path = m_directory / fs::path(component.m_filename).filename();
        RELEASE_FILE file =
            component.m_pattern_size == 0
                ? write_measured(path, component.m_content)
                : write_measured(path, component.m_pattern_size,
                                 [&component](std::uint64_t offset, std::size_t size)
                                 { return pattern(size, component.m_pattern_seed, offset); });
        file.component = component.m_name;
        const std::uint64_t installed = component.m_installsize < 0
                                            ? file.size * 2
                                            : static_cast<std::uint64_t>(component.m_installsize);
        keys.emplace_back("md5sum", json_text(file.md5));
        keys.emplace_back("sha1sum", json_text(file.sha1));
        keys.emplace_back("size", std::to_string(file.size));
        keys.emplace_back("downloadsize_str", json_text(size_text(file.size)));
        keys.emplace_back("installsize", std::to_string(installed));
        keys.emplace_back("installsize_str", json_text(size_text(installed)));
        m_files.push_back(std::move(file));
    }
    if (!component.m_parent.empty())
        keys.emplace_back("parent", json_text(component.m_parent));
    if (!component.m_dependencies.empty())
        keys.emplace_back("dependency", json_text(component.m_dependencies));
    keys.emplace_back("selected", component.m_selected ? "1" : "0");
    keys.emplace_back("standalone", component.m_standalone ? "1" : "0");
    keys.emplace_back("addon", component.m_addon ? "1" : "0");
    if (!component.m_cmd_exe.empty())
        keys.emplace_back("cmd_exe", json_text(component.m_cmd_exe));
    if (!component.m_cmd_options.empty())
        keys.emplace_back("cmd_options", json_text(component.m_cmd_options));
    override_keys(keys, component.m_overrides);
    return keys;
}

fs::path RELEASE_BUILDER::write()
{
    return write(m_directory / "manifest.json");
}

fs::path RELEASE_BUILDER::write(const fs::path& manifest)
{
    m_files.clear();
    std::string text = "[\n" + element_text(main_keys());
    for (const COMPONENT_BUILDER& component : m_components)
        text += ",\n" + element_text(component_keys(component));
    for (const std::string& element : m_raw_elements)
        text += ",\n  " + element;
    write_file(manifest, text + "\n]\n");
    return manifest;
}

const RELEASE_FILE& RELEASE_BUILDER::file(const std::string& component) const
{
    for (const RELEASE_FILE& file : m_files)
    {
        if (file.component == component)
            return file;
    }
    throw std::out_of_range("no file was written for " + component);
}
