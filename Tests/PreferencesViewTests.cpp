#include "Brevio/PreferencesView.h"

#include "Brevio/PreferencesWindow.h"
#include "Brevio/Settings.h"
#include "Tests/Support/ShortcutsFixture.h"

#include <QAccessible>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// What a screen reader meets, in order: names of what is shown and not only there to hold others.
QStringList shownTexts(QAccessibleInterface *from)
{
    QStringList texts;
    for (int i = 0; i < from->childCount(); ++i) {
        auto *child = from->child(i);
        if (child->state().invisible)
            continue;
        if (const QString name = child->text(QAccessible::Name); !name.isEmpty())
            texts.append(name);
        texts += shownTexts(child);
    }
    return texts;
}

QAccessibleInterface *named(QAccessibleInterface *from, const QString &name)
{
    for (int i = 0; i < from->childCount(); ++i) {
        auto *child = from->child(i);
        if (child->text(QAccessible::Name) == name)
            return child;
        if (auto *found = named(child, name))
            return found;
    }
    return nullptr;
}

} // namespace

class PreferencesViewTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        settings = std::make_unique<Brevio::Settings>(shortcuts.defaults);
        view = new Brevio::PreferencesView(
            *settings, shortcuts.queue, [this] { ++restored; }, [this] { ++checked; });
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
            return shownTexts(QAccessible::queryAccessibleInterface(window.get()));
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

    void aSwitchShowsAndSetsItsSetting_data()
    {
        QTest::addColumn<QString>("title");
        QTest::newRow("icon") << u"Show in menu bar"_s;
        QTest::newRow("login") << u"Start at login"_s;
    }
    void aSwitchShowsAndSetsItsSetting()
    {
        QFETCH(QString, title);
        auto &setting =
            title.startsWith(u"Show") ? settings->showInMenuBar : settings->startAtLogin;
        auto *row = named(QAccessible::queryAccessibleInterface(window.get()), title);
        QVERIFY(row);
        QCOMPARE(row->role(), QAccessible::CheckBox);
        auto *widget = qobject_cast<QWidget *>(row->object());
        const bool before = setting.get();
        QCOMPARE(bool(row->state().checked), before);

        QTest::mouseClick(widget, Qt::LeftButton, {}, {widget->width() - 20, widget->height() / 2});
        QCOMPARE(setting.get(), !before);
        QTest::keyClick(widget, Qt::Key_Space);
        QCOMPARE(setting.get(), before);
        row->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
        QCOMPARE(setting.get(), !before);
        QCOMPARE(bool(row->state().checked), !before);

        // Half way through the knob's slide the program has the last word.
        setting.set(before);
        const QImage atRest = widget->grab().toImage();
        shortcuts.queue.advance(std::chrono::seconds(1));
        QCOMPARE(widget->grab().toImage(), atRest);
        QCOMPARE(bool(row->state().checked), before);
    }

    void everythingIsReachedByKeyboardAlone()
    {
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        shortcuts.queue.runPosted(); // until then the recorder holds itself back
        QStringList reached;
        for (int i = 0; i < 5; ++i) {
            QTest::keyClick(window.get(), Qt::Key_Tab);
            reached.append(QAccessible::queryAccessibleInterface(window->focusWidget())
                               ->text(QAccessible::Name));
        }
        QCOMPARE(reached,
                 (QStringList{u"Show in menu bar"_s, u"Start at login"_s, u"Summon a card"_s,
                              u"Restore Welcome Note"_s, u"Check for Updates…"_s}));
        QTest::keyClick(window->focusWidget(), Qt::Key_Space);
        QCOMPARE(checked, 1);
        QTest::keyClick(window.get(), Qt::Key_Tab, Qt::ShiftModifier);
        QTest::keyClick(window->focusWidget(), Qt::Key_Space);
        QCOMPARE(restored, 1);
        QTest::keyClick(window.get(), Qt::Key_Escape);
        QVERIFY(!window->isVisible());
    }

    void cleanup()
    {
        window.reset();
        restored = checked = 0;
    }

private:
    ShortcutsFixture shortcuts;
    std::unique_ptr<Brevio::Settings> settings;
    Brevio::PreferencesView *view = nullptr;
    std::unique_ptr<Brevio::PreferencesWindow> window;
    int restored = 0;
    int checked = 0;
};

QTEST_MAIN(PreferencesViewTests)
#include "PreferencesViewTests.moc"
