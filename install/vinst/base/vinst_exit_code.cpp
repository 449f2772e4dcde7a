#include "install/vinst/base/vinst_exit_code.h"

#include <algorithm>
#include <array>

namespace
{

/// The values are those of winerror.h.
enum WINDOWS_EXIT_CODE
{
    elevation_required = 740,
    cancelled_by_user = 1602,
    fatal_error = 1603,
    other_installation = 1618,
    restart_initiated = 1641,
    restart_required = 3010
};

struct EXPLANATION
{
    int code;
    const char* text;
};

constexpr std::array explanations{
    EXPLANATION{elevation_required, "it requires administrator rights"},
    EXPLANATION{cancelled_by_user, "the user cancelled it"},
    EXPLANATION{fatal_error, "it met a fatal error, which its own log may explain"},
    EXPLANATION{other_installation,
                "another installation is running; try again when it has ended"}};

QString explanation_of(int code)
{
    const auto* const found =
        std::find_if(explanations.begin(), explanations.end(),
                     [code](const EXPLANATION& entry) { return entry.code == code; });
    return found == explanations.end() ? QString() : QStringLiteral(": ") + found->text;
}

}

VINST_EXIT_MEANING meaning_of_exit_code(int code, const QString& platform)
{
    if (code == 0)
        return {true, false, {}};
    const bool is_windows = platform == "windows";
    if (is_windows && (code == restart_required || code == restart_initiated))
        return {true, true, {}};
    return {false, false,
            QStringLiteral("It exited with code %1").arg(code) +
                (is_windows ? explanation_of(code) : QString())};
}
