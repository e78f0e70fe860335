#include "Brevio/Preferences/PreferencesView.h"

#include "Brevio/Preferences/PreferencesWindow.h"
#include "Brevio/Preferences/Settings.h"
#include "Tests/Support/ShortcutsFixture.h"

#include <QAccessible>
#include <QTest>

using namespace Qt::StringLiterals;

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
        // The summon shortcut has a label and the recorder.
        auto rows = u"Show in menu bar|Start at login|Hotkey|Summon a card|Summon a card|"
                    u"Clear Shortcut|Restore Welcome Note|Check for Updates…"_s.split(u'|');
        const auto texts = [&] {
            QStringList names;
            for (auto *item : shownItems())
                names << item->text(QAccessible::Name);
            return names;
        };
        QCOMPARE(texts(), rows);
        const int height = window->height();

        settings->showInMenuBar.set(false);
        rows.insert(1, u"With the menu bar icon hidden, re-open Brevio from Finder to access "
                       u"Preferences again."_s);
        QTRY_VERIFY(window->height() > height);
        QCOMPARE(texts(), rows);
        settings->showInMenuBar.set(true);
        QTRY_COMPARE(window->height(), height);
    }

    void aSwitchShowsAndSetsItsSetting()
    {
        auto *row = shownItems().at(1);
        const auto shows = [row] { return bool(row->state().checked); };
        QCOMPARE(row->role(), QAccessible::CheckBox);
        QVERIFY(!shows());
        auto *widget = qobject_cast<QWidget *>(row->object());
        QTest::mouseClick(widget, Qt::LeftButton, {}, {widget->width() - 20, 5});
        QVERIFY(shows() && settings->startAtLogin.get());
        settings->startAtLogin.set(false);
        QVERIFY(!shows());
    }

    void theLastButtonsRestoreTheWelcomeNoteAndCheckForUpdates()
    {
        for (auto *button : shownItems().last(2))
            QTest::keyClick(qobject_cast<QWidget *>(button->object()), Qt::Key_Space);
        QCOMPARE(chosen, QStringList({u"welcome"_s, u"updates"_s}));
    }

private:
    /// What a screen reader meets, in order.
    [[nodiscard]] QList<QAccessibleInterface *> shownItems() const
    {
        QList<QAccessibleInterface *> items;
        for (QWidget *widget : window->findChildren<QWidget *>())
            if (auto *item = QAccessible::queryAccessibleInterface(widget);
                widget->isVisible() && !item->text(QAccessible::Name).isEmpty())
                items << item;
        return items;
    }

    ShortcutsFixture shortcuts;
    std::unique_ptr<Brevio::Settings> settings;
    std::unique_ptr<Brevio::PreferencesWindow> window;
    QStringList chosen;
};

QTEST_MAIN(PreferencesViewTests)
#include "PreferencesViewTests.moc"
