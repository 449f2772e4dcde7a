#pragma once

#include <QString>

#include <chrono>
#include <functional>
#include <optional>

/// Where the helper that evaluates automatic-configuration scripts lies: beside this library.
QString pac_helper_path();

/// The longest that a helper may take, whatever time its caller has left.
inline constexpr std::chrono::milliseconds longest_pac_run{5000};

/// Evaluates an automatic-configuration script in a process of its own, which it can't leave
/// anything behind in, with the caller's event loop alive. What the script says is logged at debug
/// level; when there is no directive, the log says why.
///
/// \param helper     the path of the helper
/// \param at_most    at the end of this time the helper is ended
/// \param may_go_on  asked several times a second; when it answers false, the helper is ended, too
/// \param longest    tests give the helper more time than it gives itself
/// \return the directive, such as "PROXY a:3128; DIRECT"
std::optional<QString> run_pac_script(const QString& helper, const QString& script,
                                      const QString& url, const QString& host,
                                      std::chrono::milliseconds at_most,
                                      const std::function<bool()>& may_go_on,
                                      std::chrono::milliseconds longest = longest_pac_run);
