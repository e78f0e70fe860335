#include "Brevio/Preferences/PreferencesView.h"

#include "Brevio/Preferences/FormButton.h"
#include "Brevio/Preferences/FormLabel.h"
#include "Brevio/Preferences/FormSection.h"
#include "Brevio/Preferences/Settings.h"
#include "Brevio/Preferences/SwitchRow.h"
#include "KeyboardShortcuts/Recorder.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace Brevio {

namespace {

// In points.
constexpr int formWidth = 420;
constexpr int formMinimumHeight = 300;
constexpr int formMargin = 18;
constexpr int sectionGap = 16;
constexpr int headerGap = 6;
constexpr int headerIndent = 4;

/// A button at the leading edge of its row.
QWidget *buttonRow(const QString &title, std::function<void()> action)
{
    auto *row = new QWidget;
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    auto *button = new FormButton(title);
    QObject::connect(button, &QPushButton::clicked, button, std::move(action));
    layout->addWidget(button);
    layout->addStretch();
    return row;
}

} // namespace

PreferencesView::PreferencesView(Settings &settings, Platform::MainQueue &queue,
                                 std::function<void()> onRestoreWelcome,
                                 std::function<void()> onCheckForUpdates, QWidget *parent)
    : QWidget(parent)
    , m_settings(settings)
{
    setFixedWidth(formWidth);
    setMinimumHeight(formMinimumHeight);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(formMargin, formMargin, formMargin, formMargin);
    layout->setSpacing(sectionGap);
    layout->addWidget(settingsSection(queue));
    layout->addWidget(hotkeySection());
    layout->addWidget(actionsSection(std::move(onRestoreWelcome), std::move(onCheckForUpdates)));
    layout->addStretch();
}

QWidget *PreferencesView::settingsSection(Platform::MainQueue &queue)
{
    auto *section = new FormSection;
    section->addRow(switchFor(m_settings.showInMenuBar, tr("Show in menu bar"), queue));
    auto *note = new FormLabel(FormLabel::Kind::Caption,
                               tr("With the menu bar icon hidden, re-open Brevio from Finder to "
                                  "access Preferences again."));
    section->addNote(note);
    note->setVisible(!m_settings.showInMenuBar.get());
    m_subscriptions.push_back(
        m_settings.showInMenuBar.onChange([note](bool shown) { note->setVisible(!shown); }));
    section->addRow(switchFor(m_settings.startAtLogin, tr("Start at login"), queue));
    return section;
}

QWidget *PreferencesView::hotkeySection()
{
    auto *group = new QWidget;
    auto *layout = new QVBoxLayout(group);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(headerGap);
    auto *header = new FormLabel(FormLabel::Kind::Header, tr("Hotkey"));
    header->setContentsMargins(headerIndent, 0, headerIndent, 0);
    layout->addWidget(header);
    auto *section = new FormSection;
    layout->addWidget(section);

    const KeyboardShortcuts::Recorder recorder(tr("Summon a card"),
                                               KeyboardShortcuts::Name::summon());
    auto *row = new QWidget;
    auto *rowLayout = new QHBoxLayout(row);
    rowLayout->setContentsMargins(0, 0, 0, 0);
    auto *label = new QLabel(recorder.label(), row);
    auto *control = recorder.makeControl(row);
    label->setBuddy(control);
    rowLayout->addWidget(label);
    rowLayout->addStretch();
    rowLayout->addWidget(control);
    section->addRow(row);

    auto *note = new FormLabel(FormLabel::Kind::Caption, {});
    section->addNote(note);
    const auto show = [note](const QString &text) {
        note->setText(text);
        note->setVisible(!text.isEmpty());
    };
    show(control->note());
    connect(control, &KeyboardShortcuts::RecorderCocoa::noteChanged, note, show);
    return group;
}

QWidget *PreferencesView::actionsSection(std::function<void()> onRestoreWelcome,
                                         std::function<void()> onCheckForUpdates)
{
    auto *section = new FormSection;
    section->addRow(buttonRow(tr("Restore Welcome Note"), std::move(onRestoreWelcome)));
    section->addRow(buttonRow(tr("Check for Updates…"), std::move(onCheckForUpdates)));
    return section;
}

QWidget *PreferencesView::switchFor(Platform::Observable<bool> &setting, const QString &title,
                                    Platform::MainQueue &queue)
{
    auto *row = new SwitchRow(title, queue);
    row->setChecked(setting.get());
    connect(row, &QCheckBox::toggled, this, [&setting](bool on) {
        if (on != setting.get())
            setting.set(on);
    });
    m_subscriptions.push_back(setting.onChange([row](bool on) { row->setChecked(on); }));
    return row;
}

} // namespace Brevio
