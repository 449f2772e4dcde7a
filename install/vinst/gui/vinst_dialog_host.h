#pragma once

#include "install/vinst/release/vinst_data_space.h"

#include <QString>

#include <functional>

class QLabel;
class QWidget;

/// What the main dialog and its job need to know about the machine; replaceable in tests.
struct VINST_DIALOG_HOST
{
    QString platform; ///< of this machine
    bool is_admin = false;
    VINST_VOLUME_QUERY query_volume;
    /// Asks the user for an existing directory; empty when cancelled.
    std::function<QString(QWidget* parent, const QString& start)> choose_directory;

    /// Makes screen readers read a label.
    std::function<void(QLabel&)> announce = [](QLabel&) {};

    /// Asks for the user's attention to a window.
    std::function<void(QWidget&)> alert = [](QWidget&) {};

    static VINST_DIALOG_HOST this_machine();
};
