#include "Brevio/Preferences/PreferencesView.h"

#include "Brevio/Preferences/PreferencesWindow.h"
#include "Brevio/Preferences/Settings.h"
#include "Tests/Support/ShortcutsFixture.h"

#include <QAccessible>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// What a screen reader meets, in order: what is shown and not only there to hold others.
QList<QAccessibleInterface *> itemsIn(QAccessibleInterface *from)
{
    QList<QAccessibleInterface *> items;
    for (int i = 0; i < from->childCount(); ++i) {
        auto *child = from->child(i);
        if (child->state().invisible)
            continue;
        if (!child->text(QAccessible::Name).isEmpty())
            items << child;
        items += itemsIn(child);
    }
    return items;
}

} // namespace

class PreferencesViewTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        window.reset(); // before what it shows
        settings = std::make_unique<Brevio::Settings>(shortcuts.defaults);
        auto *view = new Brevio::PreferencesView(
            *settings, shortcuts.queue, [this] { chosen << u"welcome"_s; },
            [this] { chosen << u"updates"_s; });
        window = std::make_unique<Brevio::PreferencesWindow>(view);
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
    }

    void theRowsStandInTheirOrderAndTheNoteComesAndGoes()
    {
        const QString note = u"With the menu bar icon hidden, re-open Brevio from Finder to access "
                             u"Preferences again."_s;
        QStringList rows{u"Show in menu bar"_s, u"Start at login"_s,       u"Hotkey"_s,
                         u"Summon a card"_s, // the label
                         u"Summon a card"_s, // the recorder
                         u"Clear Shortcut"_s,   u"Restore Welcome Note"_s, u"Check for Updates…"_s};
        const auto texts = [&] {
            QStringList names;
            for (auto *item : shownItems())
                names << item->text(QAccessible::Name);
            return names;
        };
        QCOMPARE(texts(), rows);
        QCOMPARE(window->width(), 420);
        QVERIFY(window->height() >= 300);
        const int height = window->height();

        settings->showInMenuBar.set(false);
        rows.insert(1, note);
        QTRY_VERIFY(window->height() > height);
        QCOMPARE(texts(), rows);
        settings->showInMenuBar.set(true);
        QTRY_COMPARE(window->height(), height);
    }

    void aSwitchShowsAndSetsItsSetting()
    {
        for (const bool isIcon : {true, false}) {
            auto &setting = isIcon ? settings->showInMenuBar : settings->startAtLogin;
            auto *row = shownItems().at(isIcon ? 0 : 1);
            QCOMPARE(row->role(), QAccessible::CheckBox);
            auto *widget = qobject_cast<QWidget *>(row->object());
            const bool before = setting.get();
            QCOMPARE(bool(row->state().checked), before);

            QTest::mouseClick(widget, Qt::LeftButton, {},
                              {widget->width() - 20, widget->height() / 2});
            QCOMPARE(setting.get(), !before);
            QTest::keyClick(widget, Qt::Key_Space);
            QCOMPARE(setting.get(), before);
            row->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
            QCOMPARE(setting.get(), !before);
            QCOMPARE(bool(row->state().checked), !before);

            setting.set(before);
            QCOMPARE(bool(row->state().checked), before);
        }
    }

    void theLastButtonsRestoreTheWelcomeNoteAndCheckForUpdates()
    {
        for (auto *button : shownItems().last(2))
            QTest::keyClick(qobject_cast<QWidget *>(button->object()), Qt::Key_Space);
        QCOMPARE(chosen, QStringList({u"welcome"_s, u"updates"_s}));
    }

private:
    [[nodiscard]] QList<QAccessibleInterface *> shownItems() const
    {
        return itemsIn(QAccessible::queryAccessibleInterface(window.get()));
    }

    ShortcutsFixture shortcuts;
    std::unique_ptr<Brevio::Settings> settings;
    std::unique_ptr<Brevio::PreferencesWindow> window;
    QStringList chosen;
};

QTEST_MAIN(PreferencesViewTests)
#include "PreferencesViewTests.moc"
