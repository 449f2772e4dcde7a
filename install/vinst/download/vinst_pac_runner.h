#pragma once

#include <QString>

#include <chrono>
#include <functional>
#include <optional>

/// The path of the helper that evaluates auto-configuration scripts, next to this library.
QString pac_helper_path();

/// The time limit of a helper, however much time its caller has left.
inline constexpr std::chrono::milliseconds longest_pac_run{5000};

/// Evaluates an auto-configuration script in a separate process, so that the script can't affect
/// this one. Processes the caller's events meanwhile. The script's messages are logged at debug
/// level. That it can't be parsed, and why there is no directive, is logged at info level.
///
/// \param helper     the path of the helper
/// \param at_most    the helper is killed after this time
/// \param may_go_on  called several times per second; when it returns false, the helper is killed
/// \param longest    set by tests only, to give the helper more time than its own limit
/// \return the directive, such as "PROXY a:3128; DIRECT"
std::optional<QString> run_pac_script(const QString& helper, const QString& script,
                                      const QString& url, const QString& host,
                                      std::chrono::milliseconds at_most,
                                      const std::function<bool()>& may_go_on,
                                      std::chrono::milliseconds longest = longest_pac_run);
