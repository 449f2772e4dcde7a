#pragma once

#include "install/vinst/release/vinst_data.h"

#include <QCheckBox>
#include <QWidget>

#include <vector>

class CFGQ_REGISTRY_KEY;
class QGridLayout;

/// The skip flag that a check box writes: 0 for checked, 1 for unchecked, 2 for partly checked.
qint32 skip_of(Qt::CheckState state);

/// A check box that decides whether one action runs after the installation. Its state is the
/// inverse of the action's skip flag.
class VINST_DOWNLOADER_AFTER_INSTALL_ACTION_CHECKBOX final : public QCheckBox
{
    Q_OBJECT

public:
    VINST_DOWNLOADER_AFTER_INSTALL_ACTION_CHECKBOX(VINST_COMPONENT* action, QWidget* parent);

    VINST_COMPONENT* action() const { return m_action; }

    /// Writes the state into the action.
    void push() const { m_action->skip = skip_of(checkState()); }

private:
    VINST_COMPONENT* m_action;
};

/// All after-install actions of a platform, one check box each, below one for all of them. Nothing
/// is shown where there are none.
class VINST_AFTER_INSTALL_ACTIONS final : public QWidget
{
    Q_OBJECT

public:
    explicit VINST_AFTER_INSTALL_ACTIONS(QWidget* parent = nullptr);

    /// Makes the check boxes anew.
    void rebuild(const VINST_RELEASE& release, const QString& platform);
    bool has_actions() const { return !m_boxes.empty(); }

    /// Offers each action whose component is chosen, checked; the others are unchecked. Overwrites
    /// what the user had chosen, since that was about another selection.
    void follow_selection(bool auto_install);

    /// The user's choice of last time, for the actions that are offered.
    void restore(const CFGQ_REGISTRY_KEY& settings);
    void save(CFGQ_REGISTRY_KEY& settings) const;

private:
    using ACTION_BOX = VINST_DOWNLOADER_AFTER_INSTALL_ACTION_CHECKBOX;

    void take_all_state();
    void take_action_state();
    void show_all_state();

    QString m_platform;
    QGridLayout* m_layout;            ///< owned by this widget
    QCheckBox* m_all_box;             ///< owned by this widget
    std::vector<ACTION_BOX*> m_boxes; ///< the same
};
