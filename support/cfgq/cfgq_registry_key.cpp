#include "support/cfgq/cfgq_registry_key.h"

#include <QSettings>
#include <QUrl>

namespace
{

/// A slash would open a group inside the group, so names are stored percent-encoded.
QString stored_name(const QString& name)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(name, QByteArrayLiteral(" ")));
}

}

CFGQ_REGISTRY_KEY::CFGQ_REGISTRY_KEY(const QString& name)
    : m_settings(std::make_unique<QSettings>(QSettings::UserScope, QStringLiteral("Orvane"),
                                             QStringLiteral("vinst")))
{
    m_settings->beginGroup(stored_name(name));
}

CFGQ_REGISTRY_KEY::~CFGQ_REGISTRY_KEY() = default;

QVariant CFGQ_REGISTRY_KEY::get_value(const QString& name) const
{
    return m_settings->value(stored_name(name));
}

void CFGQ_REGISTRY_KEY::set_value(const QString& name, const QVariant& value)
{
    m_settings->setValue(stored_name(name), value);
}
