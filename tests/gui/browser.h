#pragma once

#include <QObject>
#include <QStringList>

class QUrl;

/// Replaces the browser during its lifetime, and records what was to be opened.
class BROWSER final : public QObject
{
    Q_OBJECT

public:
    BROWSER();
    ~BROWSER() override;

    QStringList opened;

public Q_SLOTS:
    void open(const QUrl& url);
};
