#pragma once

#include "install/vinst/download/vinst_progress_block.h"

#include <QString>

#include <chrono>

/// What a job is doing with a component, as its row shows it.
struct VINST_ROW_STATE
{
    enum class KIND
    {
        none,
        waiting,
        downloading,
        retrying,
        failed,
        checking,
        verified,
        installing,
        installed,
        stopped
    };

    KIND kind = KIND::none;
    std::chrono::seconds left{0}; ///< until the next attempt, if it is retrying
    QString reason = {};          ///< why it has failed; may contain text of servers and installers
};

/// The state of a component in a progress pass.
VINST_ROW_STATE row_state_of(const VINST_COMPONENT_PROGRESS& progress, bool is_being_checked);

/// The state that remains after a job: what was under way was stopped.
VINST_ROW_STATE row_state_after_job(const VINST_ROW_STATE& state, const QString& last_failure);

/// In words, such as "will retry in 5 secs"; empty for none.
QString row_state_text(const VINST_ROW_STATE& state);

/// The number of the state's image; 0 for none.
int row_state_icon(VINST_ROW_STATE::KIND kind);
