#include "install/vinst/release/vinst_component.h"

#include "install/vinst/base/vinst_text.h"
#include "install/vinst/release/vinst_data.h"
#include "support/curl/curl_progress_data.h"

#include <QUrl>

namespace
{

const QString device_group_name = QStringLiteral("devinfo");

}

QString component_kind_text(VINST_COMPONENT_KIND kind)
{
    switch (kind)
    {
    case VINST_COMPONENT_KIND::main:
        return QStringLiteral("main");
    case VINST_COMPONENT_KIND::download:
        return QStringLiteral("download");
    case VINST_COMPONENT_KIND::install:
        return QStringLiteral("install");
    case VINST_COMPONENT_KIND::unknown:
        break;
    }
    return {};
}

VINST_COMPONENT_KIND component_kind_from_text(const QString& text)
{
    for (const auto kind : {VINST_COMPONENT_KIND::main, VINST_COMPONENT_KIND::download,
                            VINST_COMPONENT_KIND::install})
        if (text == component_kind_text(kind))
            return kind;
    return VINST_COMPONENT_KIND::unknown;
}

VINST_COMPONENT::VINST_COMPONENT() = default;
VINST_COMPONENT::~VINST_COMPONENT() = default;

QString VINST_COMPONENT::display_name() const
{
    return without_control_characters(title.isEmpty() ? name : title);
}

std::string VINST_COMPONENT::log_name() const
{
    return utf8(without_control_characters(name));
}

QString VINST_COMPONENT::download_url() const
{
    if (filename.isEmpty())
        return {};
    return release->download_url() + '/' + QString::fromLatin1(QUrl::toPercentEncoding(filename));
}

const VINST_COMPONENT* VINST_COMPONENT::file_carrier() const
{
    if (!filename.isEmpty())
        return this;
    // A group below another kind of component is only a heading.
    const bool is_edition_of_parent = is_simulator() && parent != nullptr && parent->is_simulator();
    return is_edition_of_parent ? parent->file_carrier() : nullptr;
}

bool VINST_COMPONENT::is_device_archive() const
{
    return filename.endsWith("vdz");
}

bool VINST_COMPONENT::is_main_product() const
{
    return name == main_product_name;
}

bool VINST_COMPONENT::is_simulator() const
{
    return name.startsWith("morlan");
}

void VINST_COMPONENT::set_parent(VINST_COMPONENT& above)
{
    parent = &above;
    above.children.push_back(this);
    in_device_group = above.in_device_group || above.name == device_group_name;
}
