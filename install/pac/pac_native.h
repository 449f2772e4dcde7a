#pragma once

#include "install/pac/pac_engine.h"

#include <QObject>
#include <QString>

#include <map>
#include <optional>
#include <string>

/// The native half of a script's predefined functions. Limits how many names a script can resolve
/// and how many lines it can log. Lists are texts separated by semicolons. Lives as long as the
/// evaluation.
class PAC_NATIVE final : public QObject
{
    Q_OBJECT

public:
    /// \param host  the host that the script is asked for
    PAC_NATIVE(const PAC_ENVIRONMENT& environment, const std::string& host)
        : m_environment(environment), m_host(QString::fromStdString(host))
    {
    }

    Q_INVOKABLE QString resolve(const QString& name);
    Q_INVOKABLE QString own_addresses();
    Q_INVOKABLE double now() const { return static_cast<double>(m_environment.now()); }
    Q_INVOKABLE void log(const QString& line);
    /// The bytes of an IP address as decimal numbers separated by commas; empty for any other text.
    Q_INVOKABLE QString address_bytes(const QString& text) const;

private:
    const PAC_ENVIRONMENT& m_environment;
    const QString m_host;
    std::optional<QString> m_own_addresses; ///< once asked for
    int m_lines = 0;
    bool m_told_look_ups = false;
    std::map<QString, QString> m_resolved;
};
