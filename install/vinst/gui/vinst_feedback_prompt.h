#pragma once

class CFGQ_REGISTRY_KEY;
class QWidget;
class VINST_RELEASE;

/// Whether the user doesn't want to be asked for feedback any more.
bool is_feedback_refused(const CFGQ_REGISTRY_KEY& settings);

/// Invites the user to the survey, which opens in the browser. Stores the wish not to be asked
/// again. Once the process is to stop, nobody is asked.
void show_feedback_prompt(const VINST_RELEASE& release, CFGQ_REGISTRY_KEY& settings,
                          QWidget* parent);
