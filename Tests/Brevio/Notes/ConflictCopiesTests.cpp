#include "Brevio/Notes/ConflictCopies.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace Brevio;

class ConflictCopiesTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theNamesThatClientsGiveAreToldFromThoseOfPeople()
    {
        for (const QString &name :
             {u"notes (conflicted copy 2024-01-02 101112).json"_s,
              u"notes_conflict-20240102-101112.json"_s,
              u"notes_conflict_ann-20240102-101112.json"_s,
              u"notes (Ann's conflicted copy 2024-01-02 (1)).json"_s,
              u"notes (In Konflikt stehende Kopie von Jürgen 2024-01-02).json"_s,
              u"notes (Ann の競合コピー 2024-01-02).json"_s,
              u"notes.sync-conflict-20240102-101112-ABCDEF7.json"_s,
              u"notes.sync-conflict-20240102-101112.json"_s,
              u"Notes (SFConflict ann@example.org 2024-01-02-10-11-12).JSON"_s,
              u"notes (conflicted copy 2024-01-02) (Ann's conflicted copy 2024-01-03).json"_s})
            QVERIFY2(ConflictCopies::isNameOfOne(name), qPrintable(name));
        for (const QString &name :
             {u"notes.json"_s, u"notes (2024-01-02).json"_s, u"notes (conflicted copy).json"_s,
              u"notes-conflict.json"_s, u"notes.sync-conflict.json"_s,
              u"my notes (conflicted copy 2024-01-02 101112).json"_s,
              u".syncthing.notes.sync-conflict-20240102-101112-ABCDEF7.json.tmp"_s,
              u"notes (conflicted copy 2024-01-02 101112).json\n"_s,
              u"notes/x (conflicted copy 2024-01-02 101112).json"_s})
            QVERIFY2(!ConflictCopies::isNameOfOne(name), qPrintable(name));
    }
};

QTEST_GUILESS_MAIN(ConflictCopiesTests)
#include "ConflictCopiesTests.moc"
