#pragma once

#include "install/vinst/download/vinst_connection_rules.h"
#include "support/cfgq/cfgq_registry_key.h"
#include "support/curl/curl_proxy_info.h"

#include <QDialog>

#include <chrono>
#include <memory>
#include <optional>

class VINST_RELEASE;

namespace Ui
{
class VINST_SETTINGS_DLG;
}

/// The settings of a download: limits, platform and proxy. The dialog starts with the stored values
/// each time; the user name and password are never stored.
class VINST_SETTINGS_DLG final : public QDialog
{
    Q_OBJECT

public:
    explicit VINST_SETTINGS_DLG(VINST_RELEASE& release, QWidget* parent = nullptr);
    ~VINST_SETTINGS_DLG() override;

    int parallel_downloads() const;
    std::chrono::minutes retry_duration() const;
    /// Bytes per second of all downloads together; 0: no limit.
    quint64 rate_limit() const;
    bool uses_default_proxy() const;
    CURL_PROXY_INFO proxy_info() const;
    VINST_PROXY_SETTINGS proxy_settings() const;
    /// "linux" or "windows": the stored platform, or this machine's.
    const QString& platform() const { return m_platform; }

    /// While a job runs, only what works immediately can be changed.
    void set_job_running(bool is_running);

public Q_SLOTS:
    int exec() override;
    /// Shows the dialog without waiting for its result, so that a job is not held up.
    void open() override;
    void accept() override;
    void reject() override;

protected:
    void showEvent(QShowEvent* event) override;

Q_SIGNALS:
    void settings_changed();
    void platform_changed(const QString& platform);
    void rate_limit_changed(quint64 bytes_per_second);

private:
    void show_limits();
    void set_up_connections();
    /// Stops a running connection test. The dialog stays open until the test has unwound, because
    /// the main dialog must not start a job meanwhile. \return whether a test was running, which
    /// then closes the dialog with the result
    bool ends_test_first(int result);
    void load();
    void apply();
    void enable_proxy_edits();
    /// Marks a port that is none while it is typed.
    void show_port_problem();
    void note_change();
    void test_connection();

    VINST_RELEASE& m_release;
    std::unique_ptr<Ui::VINST_SETTINGS_DLG> m_ui;
    CFGQ_REGISTRY_KEY m_settings_key;
    QString m_platform;
    quint64 m_applied_rate_limit = 0;
    QString m_applied_username; ///< never stored
    QString m_applied_password; ///< never stored
    bool m_is_testing = false;
    std::optional<int> m_result_after_test; ///< set when the user has closed the dialog
};
