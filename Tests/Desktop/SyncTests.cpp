#include "Platform/Storage/Files.h"
#include "Tests/Desktop/Session.h"

#include <QDir>
#include <QSaveFile>
#include <QSet>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto aMoment = std::chrono::milliseconds(700); // longer than a save and its echo

QByteArray contentOf(const QString &path)
{
    return Platform::Files::read(path).value_or(QByteArray());
}

/// As a sync client puts a file there: whole, in one step. Without content it removes it.
void deliver(const QString &path, const QByteArray &content)
{
    if (content.isEmpty())
        return (void)QFile::remove(path);
    QSaveFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.write(content) == content.size() && file.commit());
}

/// A person's machine whose folder "Sync" is shared.
struct Machine
{
    Machine()
        : session({}, [](Desktop &desktop) {
            Session::leaveEmptyStore(desktop);
            const QString folder = desktop.home() + u"/Sync"_s;
            QDir().mkpath(folder);
            desktop.write(desktop.defaultsPath(),
                          R"({"brevio.cloudFolder": ")" + folder.toUtf8() + R"("})");
        })
    {}

    [[nodiscard]] QDir folder() const
    {
        return {session.desktop.home() + u"/Sync/Brevio/Documents"_s};
    }
    [[nodiscard]] QStringList files() const
    {
        return folder().entryList(QDir::Files | QDir::Hidden);
    }
    [[nodiscard]] QString store() const { return folder().filePath(u"notes.json"_s); }
    [[nodiscard]] QSet<QString> bodies() const
    {
        const auto bodies = Desktop::noteBodies(store());
        return {bodies.begin(), bodies.end()};
    }
    /// Whether the file stays like this for a moment.
    [[nodiscard]] bool isSettled(const QByteArray &content) const
    {
        return !waitUntil([&] { return contentOf(store()) != content; }, aMoment);
    }
    /// Waits until it holds these notes and stays like that.
    [[nodiscard]] bool settles(const QSet<QString> &expected)
    {
        return waitUntil([&] { return bodies() == expected && isSettled(contentOf(store())); });
    }
    [[nodiscard]] bool write(const QString &text)
    {
        return session.summon() && session.seat.type(text) && session.keep();
    }

    Session session;
};

/// Keeps two folders alike until they are as they should be and nothing has moved for a while: the
/// programs answer what they are given, in their own time. What changed on one side only goes to
/// the other; what changed on both stays on the one, and becomes a conflict copy on the other.
bool sync(const QDir &one, const QDir &other, const std::function<bool()> &isGood)
{
    const auto copy = u"notes.sync-conflict-20250314-0926%1-ABCDEFG.json"_s;
    int copies = 10;
    std::map<QString, QByteArray> known;
    auto moved = Clock::now();
    return waitUntil([&] {
        bool isMoving = !isGood();
        for (const QString &name : one.entryList(QDir::Files) + other.entryList(QDir::Files)) {
            const QByteArray here = contentOf(one.filePath(name));
            const QByteArray there = contentOf(other.filePath(name));
            const QByteArray last = std::exchange(known[name], here);
            isMoving |= here != there;
            if (here == last && there != last)
                deliver(one.filePath(name), known[name] = there);
            if (here == last || here == there)
                continue;
            if (there != last)
                deliver(other.filePath(copy.arg(copies++)), there);
            deliver(other.filePath(name), here);
        }
        if (isMoving)
            moved = Clock::now();
        return Clock::now() - moved > 2 * aMoment;
    });
}

} // namespace

class SyncTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void twoMachinesConvergeAndLoseNothing()
    {
        Machine desk;
        Machine lap;
        QVERIFY(desk.session.isReady() && lap.session.isReady());
        // The file that was here before the folder was shared went along.
        QVERIFY(QFile::exists(desk.store()) && QFile::exists(lap.store()));

        // Both write before they have heard of each other.
        QVERIFY(desk.write(u"desk one"_s) && lap.write(u"lap one"_s));
        QVERIFY(desk.settles({u"desk one"_s}) && lap.settles({u"lap one"_s}));
        QSet<QString> all{u"desk one"_s, u"lap one"_s};
        // The conflict copies are taken in.
        const auto isGood = [&] {
            return desk.bodies() == all && contentOf(desk.store()) == contentOf(lap.store()) &&
                   desk.files() == QStringList{u"notes.json"_s} && lap.files() == desk.files();
        };
        QVERIFY(sync(desk.folder(), lap.folder(), isGood));

        // And again, with a history.
        QVERIFY(desk.write(u"desk two"_s) && lap.write(u"lap two"_s));
        QVERIFY(waitUntil([&] { return desk.bodies().size() == 3 && lap.bodies().size() == 3; }));
        all += {u"desk two"_s, u"lap two"_s};
        QVERIFY(sync(desk.folder(), lap.folder(), isGood));
    }

    void aRemoteChangeMeetsWhatIsOpen()
    {
        Machine desk;
        QVERIFY(desk.session.isReady());
        Session &session = desk.session;
        QVERIFY(session.summon());
        session.seat.type(u"hello"_s);
        QVERIFY(desk.settles({u"hello"_s}));
        // Another machine's note arrives in the middle of a sentence.
        deliver(desk.store(), Session::storeOf({u"remote"_s}));
        session.seat.type(u" world"_s);
        QVERIFY(desk.settles({u"hello world"_s, u"remote"_s}));

        // The open grid shows it, and takes more in while it is looked at.
        QVERIFY(session.openGrid());
        QVERIFY(desk.settles({u"hello world"_s, u"remote"_s}));
        const QPoint secondRow = session.on(tileCenter(3) - QPoint(0, 30));
        QVERIFY(session.seat.pixel(secondRow) == creamInLight);
        deliver(desk.store(), Session::storeOf({u"more"_s, u"and more"_s}));
        QVERIFY(waitUntil([&] { return session.seat.pixel(secondRow) != creamInLight; }));
        QVERIFY(desk.settles({u"hello world"_s, u"remote"_s, u"more"_s, u"and more"_s}));
    }

    void aTornFileIsNeitherTakenNorOverwritten()
    {
        Machine desk;
        QVERIFY(desk.session.isReady());
        QVERIFY(desk.write(u"before"_s));
        QVERIFY(desk.settles({u"before"_s}));
        const QByteArray whole = Session::storeOf({u"from elsewhere"_s});
        const QByteArray half = whole.first(whole.size() / 2);
        Desktop::write(desk.store(), half); // in place, as some clients do
        QVERIFY(desk.write(u"meanwhile"_s));
        QVERIFY(desk.isSettled(half));
        Desktop::write(desk.store(), whole);
        QVERIFY(desk.settles({u"before"_s, u"meanwhile"_s, u"from elsewhere"_s}));
    }
};

QTEST_GUILESS_MAIN(SyncTests)
#include "SyncTests.moc"
