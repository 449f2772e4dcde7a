#include "install/vinst/gui/vinst_after_install_actions.h"

#include "install/vinst/release/vinst_data_components.h"
#include "install/vinst/release/vinst_data_install.h"
#include "support/cfgq/cfgq_registry_key.h"

#include <QGridLayout>
#include <QSignalBlocker>
#include <QStyleOptionButton>
#include <QStylePainter>

#include <algorithm>

namespace
{

constexpr int boxes_in_a_row = 3;
constexpr int widest_title = 40;       // characters
constexpr int narrowest_title = 8;     // characters
constexpr int surely_shown_title = 20; // characters, at the window's smallest width

/// A check box treats '&' as a mnemonic; in a manifest it is a plain character.
QString literal_text(QString text)
{
    return text.replace('&', "&&");
}

/// The description, below a title that may be elided.
QString tool_tip_of(const VINST_COMPONENT& action)
{
    QStringList parts;
    if (action.display_name().size() > surely_shown_title)
        parts.append(action.display_name());
    if (!action.desc.isEmpty())
        parts.append(action.desc);
    if (parts.isEmpty())
        return {};
    return "<qt>" + parts.join('\n').toHtmlEscaped().replace('\n', "<br/>") + "</qt>";
}

void set_silently(QCheckBox& box, Qt::CheckState state)
{
    const QSignalBlocker blocker(box);
    box.setCheckState(state);
}

}

qint32 skip_of(Qt::CheckState state)
{
    switch (state)
    {
    case Qt::Checked:
        return 0;
    case Qt::PartiallyChecked:
        return 2;
    case Qt::Unchecked:
        break;
    }
    return 1;
}

VINST_DOWNLOADER_AFTER_INSTALL_ACTION_CHECKBOX::VINST_DOWNLOADER_AFTER_INSTALL_ACTION_CHECKBOX(
    VINST_COMPONENT* action, QWidget* parent)
    : QCheckBox(literal_text(action->display_name())), m_action(action)
{
    // Not passed to the base class: below a parent that is disabled, Qt would create the interface
    // for screen readers before this object is a check box.
    setParent(parent);
    setObjectName("m_action_checkbox_" + action->name);
    setAccessibleName(action->display_name());
    setToolTip(tool_tip_of(*action));
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed); // may shrink below its size hint
}

QSize VINST_DOWNLOADER_AFTER_INSTALL_ACTION_CHECKBOX::sizeHint() const
{
    return size_for(widest_title);
}

QSize VINST_DOWNLOADER_AFTER_INSTALL_ACTION_CHECKBOX::minimumSizeHint() const
{
    return size_for(narrowest_title);
}

QSize VINST_DOWNLOADER_AFTER_INSTALL_ACTION_CHECKBOX::size_for(int characters) const
{
    const int text_width = fontMetrics().size(Qt::TextShowMnemonic, text()).width();
    const int widest = fontMetrics().averageCharWidth() * characters;
    return QCheckBox::sizeHint() - QSize(std::max(0, text_width - widest), 0);
}

void VINST_DOWNLOADER_AFTER_INSTALL_ACTION_CHECKBOX::paintEvent(QPaintEvent* /*event*/)
{
    QStylePainter painter(this);
    QStyleOptionButton option;
    initStyleOption(&option);
    const int room = style()->subElementRect(QStyle::SE_CheckBoxContents, &option, this).width();
    option.text =
        literal_text(fontMetrics().elidedText(m_action->display_name(), Qt::ElideMiddle, room));
    painter.drawControl(QStyle::CE_CheckBox, option);
}

VINST_AFTER_INSTALL_ACTIONS::VINST_AFTER_INSTALL_ACTIONS(QWidget* parent)
    : QWidget(parent), m_layout(new QGridLayout(this)),
      m_all_box(new QCheckBox(QStringLiteral("Run all actions after the installation"), this))
{
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setVerticalSpacing(2);
    m_layout->setColumnStretch(boxes_in_a_row, 1);
    m_all_box->setObjectName("m_all_actions_checkbox");
    m_all_box->setTristate(true);
    m_layout->addWidget(m_all_box, 0, 0);
    connect(m_all_box, &QCheckBox::clicked, this, [this] { take_all_state(); });
    hide();
}

void VINST_AFTER_INSTALL_ACTIONS::rebuild(const VINST_RELEASE& release, const QString& platform)
{
    for (ACTION_BOX* box : m_boxes)
        delete box;
    m_boxes.clear();
    m_platform = platform;
    for (VINST_COMPONENT* action :
         components_of_kind(release, VINST_COMPONENT_KIND::install, platform))
    {
        auto* const box = new ACTION_BOX(action, this);
        connect(box, &QCheckBox::stateChanged, this, [this] { take_action_state(); });
        setTabOrder(m_boxes.empty() ? m_all_box : m_boxes.back(), box);
        m_boxes.push_back(box);
        const int place = static_cast<int>(m_boxes.size());
        m_layout->addWidget(box, place / boxes_in_a_row, place % boxes_in_a_row);
    }
    setVisible(has_actions());
}

void VINST_AFTER_INSTALL_ACTIONS::follow_selection(bool auto_install)
{
    for (ACTION_BOX* box : m_boxes)
    {
        const VINST_COMPONENT* owner = owner_of_action(*box->action(), m_platform);
        const bool is_offered = auto_install && owner != nullptr && owner->is_selected();
        box->setEnabled(is_offered);
        set_silently(*box, is_offered ? Qt::Checked : Qt::Unchecked);
        box->push();
    }
    show_all_state();
}

void VINST_AFTER_INSTALL_ACTIONS::take_all_state()
{
    // A click on a partly checked box checks all of them.
    const Qt::CheckState wanted =
        m_all_box->checkState() == Qt::Unchecked ? Qt::Unchecked : Qt::Checked;
    for (ACTION_BOX* box : m_boxes)
    {
        if (!box->isEnabled())
            continue;
        set_silently(*box, wanted);
        box->push();
    }
    show_all_state();
}

void VINST_AFTER_INSTALL_ACTIONS::take_action_state()
{
    for (const ACTION_BOX* box : m_boxes)
        box->push();
    show_all_state();
}

void VINST_AFTER_INSTALL_ACTIONS::show_all_state()
{
    const auto is_checked = [](const ACTION_BOX* box) { return box->isChecked(); };
    const bool all = std::all_of(m_boxes.begin(), m_boxes.end(), is_checked);
    const bool any = std::any_of(m_boxes.begin(), m_boxes.end(), is_checked);
    m_all_box->setEnabled(std::any_of(m_boxes.begin(), m_boxes.end(),
                                      [](const ACTION_BOX* box) { return box->isEnabled(); }));
    set_silently(*m_all_box, !any ? Qt::Unchecked : all ? Qt::Checked : Qt::PartiallyChecked);
}

void VINST_AFTER_INSTALL_ACTIONS::restore(const CFGQ_REGISTRY_KEY& settings)
{
    // New actions without a stored state get the state of the box for all.
    const QVariant stored_for_all = settings.get_value(m_all_box->text());
    for (ACTION_BOX* box : m_boxes)
    {
        const QVariant own = settings.get_value(box->text());
        const QVariant& stored = own.isValid() ? own : stored_for_all;
        if (!box->isEnabled() || !stored.isValid())
            continue;
        set_silently(*box, stored.toBool() ? Qt::Checked : Qt::Unchecked);
        box->push();
    }
    show_all_state();
}

void VINST_AFTER_INSTALL_ACTIONS::save(CFGQ_REGISTRY_KEY& settings) const
{
    if (!has_actions())
        return;
    settings.set_value(m_all_box->text(), static_cast<int>(m_all_box->checkState()));
    for (const ACTION_BOX* box : m_boxes)
        settings.set_value(box->text(), box->isChecked());
}
