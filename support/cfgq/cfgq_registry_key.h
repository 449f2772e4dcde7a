#pragma once

#include <QString>
#include <QVariant>

#include <memory>

class QSettings;

/// One group of the user's persistent settings.
class CFGQ_REGISTRY_KEY
{
public:
    /// \param name  of the group; any text
    explicit CFGQ_REGISTRY_KEY(const QString& name);
    ~CFGQ_REGISTRY_KEY();

    /// Null when nothing is stored under that name.
    QVariant get_value(const QString& name) const;
    void set_value(const QString& name, const QVariant& value);

private:
    std::unique_ptr<QSettings> m_settings;
};
