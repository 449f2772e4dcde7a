#pragma once

#include "install/pac/pac_engine.h"

#include <QJSValue>
#include <QObject>
#include <QString>

#include <map>

/// What the predefined functions of a script ask the machine, within bounds: a script may look up
/// and say only so much. Lists are texts with semicolons. Lives as long as the evaluation.
class PAC_NATIVE final : public QObject
{
    Q_OBJECT

public:
    explicit PAC_NATIVE(const PAC_ENVIRONMENT& environment) : m_environment(environment) {}

    /// Whether the script was run at all, and whether it came to its end. Between the two lies an
    /// exception; a script with a syntax error doesn't even begin.
    bool has_begun() const { return m_begun; }
    bool has_ended() const { return m_ended; }
    /// What the script defines; callable only when it has the function that is asked for.
    const QJSValue& function() const { return m_function; }

    Q_INVOKABLE void begin() { m_begun = true; }
    Q_INVOKABLE void take(const QJSValue& function);
    Q_INVOKABLE QString resolve(const QString& name);
    Q_INVOKABLE QString own_addresses() const;
    Q_INVOKABLE double now() const { return static_cast<double>(m_environment.now()); }
    Q_INVOKABLE void log(const QString& line);
    /// The bytes of a numeric address as decimal numbers with commas; empty when it is none.
    Q_INVOKABLE QString address_bytes(const QString& text) const;

private:
    const PAC_ENVIRONMENT& m_environment;
    bool m_begun = false;
    bool m_ended = false;
    QJSValue m_function;
    int m_lines = 0;
    bool m_told_look_ups = false;
    std::map<QString, QString> m_resolved;
};
