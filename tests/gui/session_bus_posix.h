#pragma once

#include <QObject>
#include <QProcess>
#include <QString>
#include <QVariantMap>

#include <vector>

/// What a program has asked the launcher to show.
struct LAUNCHER_UPDATE
{
    QString entry;
    double progress = -1;
    bool is_visible = false;
};

/// A private session bus with a launcher. The program under test finds it in its environment during
/// the lifetime of this object.
class SESSION_BUS final : public QObject
{
    Q_OBJECT

public:
    SESSION_BUS();
    ~SESSION_BUS() override;

    std::vector<LAUNCHER_UPDATE> updates;

public Q_SLOTS:
    void update(const QString& entry, const QVariantMap& properties);

private:
    QProcess m_daemon;
};
