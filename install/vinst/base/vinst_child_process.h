#pragma once

#include <QProcess>

/// A process that inherits nothing from this one but the three standard streams, whatever this
/// program and its libraries have open.
class VINST_CHILD_PROCESS : public QProcess
{
protected:
    /// Runs in the child, between its creation and its program's start. Not called on Windows.
    void setupChildProcess() override;
};
