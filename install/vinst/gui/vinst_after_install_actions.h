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

    /// At most 40 characters wide. The text itself stays complete, because the choice is stored
    /// under it.
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    /// Elides a title that is too long, in the middle.
    void paintEvent(QPaintEvent* event) override;

private:
    QSize size_for(int characters) const;

    VINST_COMPONENT* m_action;
};

/// All after-install actions of a platform, with a check box each, below one for all of them. Shows
/// nothing when there are none.
class VINST_AFTER_INSTALL_ACTIONS final : public QWidget
{
    Q_OBJECT

public:
    explicit VINST_AFTER_INSTALL_ACTIONS(QWidget* parent = nullptr);

    /// Recreates the check boxes.
    void rebuild(const VINST_RELEASE& release, const QString& platform);
    bool has_actions() const { return !m_boxes.empty(); }

    /// Enables and checks each action whose component is selected, and unchecks the others.
    /// Overwrites the user's choice, which was made for another selection.
    void follow_selection(bool auto_install);

    /// Restores the user's previous choice for the actions that are enabled.
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
