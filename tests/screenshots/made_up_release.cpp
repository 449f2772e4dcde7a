#include "tests/screenshots/made_up_release.h"

#include "install/vinst/base/vinst_text.h"
#include "install/vinst/release/vinst_parser.h"
#include "tests/harness/installer_scripts.h"
#include "tests/harness/release_builder.h"
#include "tests/harness/temp_dir.h"

#include <QCryptographicHash>

#include <algorithm>
#include <stdexcept>

namespace fs = std::filesystem;

namespace
{

constexpr std::uint64_t mib = 1024ULL * 1024;

std::string md5_of(const std::string& head, std::uint64_t size)
{
    const QByteArray hole(static_cast<int>(mib), '\0');
    QCryptographicHash hash(QCryptographicHash::Md5);
    hash.addData(head.data(), static_cast<int>(head.size()));
    for (std::uint64_t left = size - head.size(); left > 0;)
    {
        const std::uint64_t step = std::min(left, mib);
        hash.addData(hole.data(), static_cast<int>(step));
        left -= step;
    }
    return hash.result().toHex().toStdString();
}

/// Only displayed, never compared.
std::string made_up_sha1(const std::string& name)
{
    return QCryptographicHash::hash(QByteArray::fromStdString(name), QCryptographicHash::Sha1)
        .toHex()
        .toStdString();
}

QString size_text(std::uint64_t bytes)
{
    return readable_size(bytes);
}

}

MADE_UP_RELEASE::MADE_UP_RELEASE(const fs::path& directory) : m_directory(directory)
{
    add_files();
    write_manifest();
}

void MADE_UP_RELEASE::add_files()
{
    const auto add = [this](const std::string& filename, const std::string& head, std::uint64_t mb)
    {
        const std::uint64_t size = mb * mib + head.size();
        m_parts.push_back(
            {fs::path(filename).stem().string(), filename, head, size, md5_of(head, size)});
        m_server.serve('/' + filename, SERVED_BODY::of_pattern(size));
    };
    add("veltrin_base.run", main_product_script(), 1638);
    add("vprogrammer.run", install_script(), 148);
    add("vscope.run", install_script(), 36);
    add("vhelp.run", install_script(), 54);
    add("orion.vdz", "", 224);
    add("lyra.vdz", "", 96);
    add("morlan_fe.run", install_script(), 131);
    add("flexlm.run", install_script(), 12);
}

void MADE_UP_RELEASE::write_manifest()
{
    RELEASE_BUILDER builder(m_directory);
    builder.download_url(m_server.url()).test_file(m_server.url());
    builder.installdir_linux("${user_home_directory}/orvaneFPGA_pro/5.2");

    const auto add = [&](const std::string& name, const std::string& title,
                         const std::string& desc) -> COMPONENT_BUILDER&
    {
        const PART& file = part(name);
        const std::uint64_t installed = file.size * 5 / 2;
        return builder.component(name)
            .filename(file.filename)
            .title(title)
            .desc(desc)
            .key("size", static_cast<double>(file.size))
            .key("md5sum", QString::fromStdString(file.md5))
            .key("sha1sum", QString::fromStdString(made_up_sha1(name)))
            .key("installsize", static_cast<double>(installed))
            .key("downloadsize_str", size_text(file.size))
            .key("installsize_str", size_text(installed));
    };
    const auto add_group =
        [&](const std::string& name, const std::string& title, const std::string& desc)
    { builder.component(name).no_file().title(title).desc(desc); };

    add("veltrin_base", "Veltrin Crest Pro Edition",
        "The design software itself: synthesis, place and route, timing analysis and the "
        "project manager.\n\nIts installer brings the optional parts along.")
        .standalone();
    add("vprogrammer", "Programmer and Tools", "Loads designs into boards.");
    add("vscope", "On-board Logic Scope", "Watches signals on a running board.")
        .parent("vprogrammer")
        .depends_on({"vprogrammer"});
    add("vhelp", "Offline Help", "The documentation, for reading without a network.")
        .selected(false);
    add_group("devinfo", "Devices", "The device families that designs can be made for.");
    add("orion", "Orion device support", "Timing and layout data of the Orion family.")
        .parent("devinfo");
    add("lyra", "Lyra device support", "Timing and layout data of the Lyra family.")
        .parent("devinfo");
    add_group("morlan", "Morlan Simulator", "Simulates designs.");
    add("morlan_fe", "Morlan FPGA Edition",
        "Simulates designs before they reach a board. Installed by an installer of its own.")
        .parent("morlan")
        .standalone();
    add("flexlm", "Licence service", "Hands out floating licences.").standalone();

    const auto add_action = [&](const std::string& name, const std::string& title)
    { builder.component(name).data_type("install").no_file().title(title).desc(""); };
    add_action("desktop_shortcuts", "Create a shortcut on the desktop");
    add_action("file_types", "Open project files with Veltrin Crest");
    builder.write();
    m_server.serve("/test.txt", read_file(m_directory / "test.txt"));
}

std::unique_ptr<VINST_RELEASE> MADE_UP_RELEASE::load() const
{
    auto release = parse_manifest(QString::fromStdString((m_directory / "manifest.json").string()),
                                  [](const QByteArray&) {});
    if (release == nullptr)
        throw std::runtime_error("the made-up manifest can't be read");
    return release;
}

void MADE_UP_RELEASE::lay_whole(const fs::path& directory) const
{
    for (const PART& each : m_parts)
        lay_part(directory, each.name, 100);
}

void MADE_UP_RELEASE::lay_part(const fs::path& directory, const std::string& name,
                               int percent) const
{
    const PART& file = part(name);
    write_file(directory / file.filename, file.head);
    fs::resize_file(directory / file.filename, file.size * static_cast<unsigned>(percent) / 100);
}

void MADE_UP_RELEASE::lay_wrong(const fs::path& directory, const std::string& name) const
{
    const PART& file = part(name);
    write_file(directory / file.filename, "not what was released");
    fs::resize_file(directory / file.filename, file.size);
}

void MADE_UP_RELEASE::set_fault(const std::string& name, const FAULT& fault)
{
    m_server.set_faults('/' + part(name).filename, {fault});
}

void MADE_UP_RELEASE::clear_faults()
{
    for (const PART& each : m_parts)
        m_server.set_faults('/' + each.filename, {});
}

const MADE_UP_RELEASE::PART& MADE_UP_RELEASE::part(const std::string& name) const
{
    const auto place = std::find_if(m_parts.begin(), m_parts.end(),
                                    [&](const PART& each) { return each.name == name; });
    if (place == m_parts.end())
        throw std::out_of_range("no file is called " + name);
    return *place;
}
