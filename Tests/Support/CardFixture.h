#pragma once

#include "Brevio/Card/CardContentView.h"
#include "Brevio/Card/CardController.h"
#include "Brevio/Card/CardPanel.h"
#include "Brevio/Card/RootContainer.h"
#include "Brevio/Card/ToastView.h"
#include "Brevio/Grid/GridContentView.h"
#include "Brevio/Notes/NoteStore.h"
#include "Brevio/Notes/StoreFile.h"
#include "Brevio/Preferences/Settings.h"
#include "Brevio/Text/BoundedTextView.h"
#include "Platform/Storage/Files.h"
#include "Tests/Support/FakeAppearance.h"
#include "Tests/Support/FakeCloudDrive.h"
#include "Tests/Support/FakeScreens.h"
#include "Tests/Support/FakeSpeech.h"
#include "Tests/Support/ShortcutsFixture.h"

#include <QTest>

inline constexpr FakeHotKeys::Combination summonKeys{49, Platform::Modifier::Command |
                                                             Platform::Modifier::Shift};
/// Longer than a toast, a cross-fade and the store's debounce together.
inline constexpr auto longEnough = std::chrono::seconds(2);

/// The whole card on a desktop of fakes, with a real store in a folder of its own.
struct CardFixture
{
    CardFixture()
    {
        // A deletion at the moment of the last edit would not outlive a merge.
        clock.advance(std::chrono::seconds(1));
        store.setPendingWelcomeID(std::nullopt);
        store.deleteNote(store.notes().front().id); // the welcome note of the first run
        elsewhere.show();
    }

    Brevio::BoundedTextView &text() { return *card().textView(); }
    Brevio::CardContentView &card()
    {
        return *controller.panel().findChild<Brevio::CardContentView *>();
    }
    Brevio::RootContainer &root()
    {
        return *controller.panel().findChild<Brevio::RootContainer *>();
    }
    QString toast() { return controller.panel().findChild<Brevio::ToastView *>()->text(); }
    bool isShown() const { return controller.panel().isVisible(); }

    void summon()
    {
        if (!isShown()) { // then the keyboard is elsewhere, which the offscreen platform omits
            elsewhere.activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(&elsewhere));
        }
        shortcuts.hotKeys.press(summonKeys);
        shortcuts.hotKeys.release(summonKeys);
        if (isShown())
            QVERIFY(QTest::qWaitForWindowActive(&controller.panel()));
    }
    /// '\b' is the Backspace key.
    void type(const QString &keys) { QTest::keyClicks(&text(), keys); }
    /// On a card that is summoned for it.
    void write(const QString &keys)
    {
        summon();
        type(keys);
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QWidget *focus = controller.panel().focusWidget();
        QTest::keyClick(focus ? focus : &controller.panel(), key, modifiers);
    }
    void pressAlt() { QTest::keyPress(&text(), Qt::Key_Alt, Qt::AltModifier); }
    /// Until the microphone is open.
    void hold()
    {
        pressAlt();
        permissions.answer(true, true);
        wait(std::chrono::milliseconds(150));
    }
    void holdAndSay(const QString &words)
    {
        hold();
        recognizer().report(words);
    }
    void say(const QString &words)
    {
        holdAndSay(words);
        release();
    }
    bool isQuiet()
    {
        return !text().isDictating() && !audioEngine.isRunning() && !audioEngine.hasTap();
    }
    FakeSpeechRecognizer &recognizer() { return *recognizers.shared; }
    void release() { QTest::keyRelease(&text(), Qt::Key_Alt); }
    void keep() { press(Qt::Key_Return, Qt::ControlModifier); }
    void discard() { press(Qt::Key_Escape); }
    void pin() { press(Qt::Key_K, Qt::ControlModifier | Qt::ShiftModifier); }
    void wait(Platform::MainQueue::Duration span)
    {
        clock.advance(span);
        queue.advance(span);
    }

    /// A note that the store already has, loaded through a click in the grid.
    QUuid openExisting(const QString &body)
    {
        const QUuid id = store.newNote();
        store.setBody(id, body);
        wait(std::chrono::minutes(10));
        summon();
        controller.enterGridMode();
        controller.grid().onThumbClick(id);
        wait(longEnough);
        return id;
    }
    /// Another machine pins the newest note and gives it this text.
    void editElsewhere(const QString &body)
    {
        wait(longEnough); // the file holds what was typed
        Brevio::NoteList notes = store.notes();
        notes.front().body = body;
        notes.front().isPinned = true;
        notes.front().lastEditedAt = clock.now();
        const QString path = *cloud.root + QStringLiteral("/Documents/notes.json");
        QVERIFY(Platform::Files::replaceAtomically(path, Brevio::StoreFile::encode(notes, {})));
        store.remoteFileMayHaveChanged();
        queue.runPosted();
    }
    QStringList bodies() const
    {
        QStringList bodies;
        for (const Brevio::Note &note : store.notes())
            bodies << note.body;
        return bodies;
    }

    ShortcutsFixture shortcuts;
    ManualQueue &queue = shortcuts.queue;
    ManualClock clock;
    FakeAppearance appearance;
    FakeScreens screens;
    FakeCloudDrive cloud;
    FakeAudioEngine audioEngine;
    FakeSpeechRecognizers recognizers;
    FakePermissions permissions;
    Brevio::NoteStore store{environment()};
    Brevio::Settings settings{shortcuts.defaults};
    QWidget elsewhere;
    Brevio::CardController controller{
        store,
        settings,
        {appearance, queue, screens, shortcuts.defaults, audioEngine, recognizers, permissions}};

private:
    Brevio::NoteStore::Environment environment()
    {
        const QString folder = shortcuts.folder.filePath(QStringLiteral("data"));
        cloud.signedIn = true;
        cloud.root = folder + QStringLiteral("/drive");
        return {clock, queue, cloud, folder, folder};
    }
};
