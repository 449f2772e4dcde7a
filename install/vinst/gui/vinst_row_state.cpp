#include "install/vinst/gui/vinst_row_state.h"

#include "install/vinst/base/vinst_text.h"
#include "support/afcq/afcq_images.h"

namespace
{

using KIND = VINST_ROW_STATE::KIND;

}

VINST_ROW_STATE row_state_of(const VINST_COMPONENT_PROGRESS& progress, bool is_being_checked)
{
    using STATE = VINST_COMPONENT_PROGRESS::STATE;
    switch (progress.state)
    {
    case STATE::moving:
        return {KIND::downloading};
    case STATE::failed:
        return {KIND::failed, {}, progress.error_line};
    case STATE::verified:
        return {KIND::verified};
    case STATE::waiting:
        break;
    }
    return {is_being_checked ? KIND::checking : KIND::waiting};
}

VINST_ROW_STATE row_state_after_job(const VINST_ROW_STATE& state, const QString& last_failure)
{
    switch (state.kind)
    {
    case KIND::waiting:
    case KIND::downloading:
    case KIND::retrying:
    case KIND::checking:
    case KIND::installing:
        break;
    case KIND::none:
    case KIND::failed:
    case KIND::verified:
    case KIND::installed:
    case KIND::stopped:
        return state;
    }
    if (!last_failure.isEmpty())
        return {KIND::failed, {}, last_failure};
    return {state.kind == KIND::waiting ? KIND::none : KIND::stopped};
}

QString row_state_text(const VINST_ROW_STATE& state)
{
    switch (state.kind)
    {
    case KIND::waiting:
        return QStringLiteral("waiting");
    case KIND::downloading:
        return QStringLiteral("downloading");
    case KIND::retrying:
        return "will retry in " +
               QString::fromStdString(format_duration(static_cast<int>(state.left.count())));
    case KIND::failed:
        return state.reason.isEmpty() ? "failed" : "failed: " + state.reason;
    case KIND::checking:
        return QStringLiteral("checking");
    case KIND::verified:
        return QStringLiteral("verified");
    case KIND::installing:
        return QStringLiteral("installing");
    case KIND::installed:
        return QStringLiteral("installed");
    case KIND::stopped:
        return QStringLiteral("stopped");
    case KIND::none:
        break;
    }
    return {};
}

int row_state_icon(KIND kind)
{
    switch (kind)
    {
    case KIND::waiting:
        return afcq_waiting_icon;
    case KIND::downloading:
        return afcq_downloading_icon;
    case KIND::retrying:
        return afcq_retrying_icon;
    case KIND::failed:
        return afcq_failed_icon;
    case KIND::checking:
        return afcq_checking_icon;
    case KIND::verified:
        return afcq_passed_icon;
    case KIND::installing:
        return afcq_installing_icon;
    case KIND::installed:
        return afcq_installed_icon;
    case KIND::stopped:
        return afcq_stopped_icon;
    case KIND::none:
        break;
    }
    return 0;
}
