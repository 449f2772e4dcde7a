#pragma once

class CFGQ_REGISTRY_KEY;
class QWidget;
class VINST_RELEASE;

/// Whether the user has chosen not to be asked for feedback again.
bool is_feedback_refused(const CFGQ_REGISTRY_KEY& settings);

/// Invites the user to the survey, which opens in the browser. Stores the user's choice not to be
/// asked again. Does nothing once the process is to stop.
void show_feedback_prompt(const VINST_RELEASE& release, CFGQ_REGISTRY_KEY& settings,
                          QWidget* parent);
