// What reading and writing a large store costs.

#include "Benchmarks/Measure.h"
#include "Brevio/Notes/NoteStore.h"
#include "Brevio/Notes/StoreFile.h"
#include "Platform/Storage/Files.h"
#include "Tests/Support/FakeCloudDrive.h"

#include <QCoreApplication>
#include <QTemporaryDir>

using namespace Brevio;

namespace {

constexpr int noteCount = 10'000;
constexpr int rounds = 21;
constexpr double limitMilliseconds = 50.0;

template <class Work>
void measure(const char *what, Work &&work)
{
    std::vector<double> times;
    for (int i = 0; i < rounds; ++i) {
        const Measure::Stopwatch watch;
        work();
        times.push_back(watch.milliseconds());
    }
    Measure::print({.what = what, .value = Measure::median(times), .limit = limitMilliseconds});
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("Brevio/notes.json"));
    const NoteList notes = Measure::notes(noteCount);
    const FakeCloudDrive noCloud; // the user's own must not get these notes
    const NoteStore::Environment environment{Platform::Clock::system(), Platform::MainQueue::main(),
                                             noCloud, folder.path(), folder.path()};
    bool isGood = Platform::Files::makeFolder(folder.filePath(QStringLiteral("Brevio")));

    measure("store of 10,000 notes: encode, write, sync", [&] {
        isGood &= Platform::Files::replaceAtomically(path, StoreFile::encode(notes, {}));
    });
    measure("store of 10,000 notes: read, decode, merge",
            [&] { isGood &= NoteStore(environment).notes() == notes; });

    // The same in the synced folder, where every save looks at the file first.
    FakeCloudDrive drive;
    drive.signedIn = true;
    drive.root = folder.filePath(QStringLiteral("drive"));
    NoteStore synced({environment.clock, environment.queue, drive, folder.path(), folder.path()});
    const QString syncedPath = *drive.root + QStringLiteral("/Documents/notes.json");
    measure("synced store of 10,000 notes: look, encode, write, sync", [&] {
        synced.togglePin(notes[0].id);
        synced.flush();
    });
    NoteStore reading({environment.clock, environment.queue, drive, folder.path(), folder.path()});
    NoteList theirs = reading.notes();
    std::vector<double> times;
    for (int round = 0; round < rounds; ++round) {
        theirs.insert(theirs.begin(), Note::create(environment.clock.now()));
        isGood &= Platform::Files::replaceAtomically(syncedPath, StoreFile::encode(theirs, {}));
        const Measure::Stopwatch watch;
        reading.remoteFileMayHaveChanged();
        QCoreApplication::processEvents();
        times.push_back(watch.milliseconds());
        isGood &= reading.notes().size() == theirs.size();
    }
    Measure::print({.what = "synced store of 10,000 notes: merge another's note",
                    .value = Measure::median(times),
                    .limit = limitMilliseconds});
    return isGood ? 0 : 1;
}
