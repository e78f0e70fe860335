// What the store costs: a large file decoded, encoded, read and written, and a keystroke in a small
// and in a large list.

#include "Brevio/NoteStore.h"
#include "Brevio/StoreFile.h"
#include "Platform/Storage/Files.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>

using namespace Brevio;
using namespace std::chrono;

namespace {

constexpr int manyNotes = 10'000;
constexpr int rounds = 21;
constexpr int keystrokes = 20'000;

NoteList noteList(int count)
{
    const QString body = QStringLiteral("Call the bank\nask about the card – 5/12, \"blue\" one. ");
    NoteList notes;
    const auto start = floor<seconds>(Platform::Clock::system().now());
    for (int i = 0; i < count; ++i)
        notes.push_back(Note::create(start - seconds(i), body.repeated(1 + i % 8)));
    return notes;
}

template <class Work>
void report(const char *what, Work &&work)
{
    std::vector<double> times;
    for (int i = 0; i < rounds; ++i) {
        const auto start = steady_clock::now();
        work();
        times.push_back(duration<double, std::milli>(steady_clock::now() - start).count());
    }
    std::ranges::sort(times);
    std::printf("%-36s median %7.2f ms  worst %7.2f ms\n", what, times[rounds / 2], times.back());
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("Brevio/notes.json"));
    if (!Platform::Files::makeFolder(folder.filePath(QStringLiteral("Brevio"))))
        return 1;

    const NoteList notes = noteList(manyNotes);
    const QByteArray bytes = StoreFile::encode(notes, {});
    std::printf("%d notes, %lld bytes\n", manyNotes, static_cast<long long>(bytes.size()));
    bool isGood = true;
    report("encode", [&] { isGood &= StoreFile::encode(notes, {}) == bytes; });
    report("encode, write and sync", [&] {
        isGood &= Platform::Files::replaceAtomically(path, StoreFile::encode(notes, {}));
    });
    report("decode", [&] { isGood &= StoreFile::decode(bytes, {}).has_value(); });
    auto environment = NoteStore::Environment::standard();
    environment.applicationSupportFolder = folder.path();
    report("make a store of it (read and merge)",
           [&] { isGood &= NoteStore(environment).notes() == notes; });

    for (const int count : {1, 1'000, manyNotes}) {
        isGood &= Platform::Files::replaceAtomically(path, StoreFile::encode(noteList(count), {}));
        NoteStore store(environment);
        const auto id = store.notes().front().id;
        const auto start = steady_clock::now();
        for (int i = 0; i < keystrokes; ++i)
            store.setBody(id, QString::number(i));
        const duration<double, std::micro> time = steady_clock::now() - start;
        std::printf("keystroke among %5d notes           %7.3f us\n", count,
                    time.count() / keystrokes);
    }
    return isGood ? 0 : 1;
}
