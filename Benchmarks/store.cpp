// What reading and writing a large store costs.

#include "Benchmarks/Measure.h"
#include "Brevio/NoteStore.h"
#include "Brevio/StoreFile.h"
#include "Platform/Storage/Files.h"

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
    auto environment = NoteStore::Environment::standard();
    environment.applicationSupportFolder = folder.path();
    bool isGood = Platform::Files::makeFolder(folder.filePath(QStringLiteral("Brevio")));

    measure("store of 10,000 notes: encode, write, sync", [&] {
        isGood &= Platform::Files::replaceAtomically(path, StoreFile::encode(notes, {}));
    });
    measure("store of 10,000 notes: read, decode, merge",
            [&] { isGood &= NoteStore(environment).notes() == notes; });
    return isGood ? 0 : 1;
}
