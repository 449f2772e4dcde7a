#pragma once

#include "install/vinst/gui/vinst_job_end.h"

#include <QWidget>

class QLabel;
class QPushButton;

/// The last job's end: what was done, and buttons for the next step. Hidden when there is none.
class VINST_JOB_END_VIEW final : public QWidget
{
    Q_OBJECT

public:
    explicit VINST_JOB_END_VIEW(QWidget* parent = nullptr);

    void show_end(const VINST_JOB_END& end);
    void clear() { show_end({}); }
    const VINST_JOB_END& end() const { return m_end; }

Q_SIGNALS:
    void folder_wanted(const QString& dir);
    void log_wanted();
    void retry_wanted();

private:
    QPushButton* add_button(const char* name, const QString& text);

    VINST_JOB_END m_end;
    QLabel* m_label; // all are owned by this widget
    QPushButton* m_open_folder_button;
    QPushButton* m_show_log_button;
    QPushButton* m_retry_button;
};
