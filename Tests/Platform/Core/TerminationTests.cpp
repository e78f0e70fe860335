#include "Platform/Core/Termination.h"

#include <QTest>
#include <QTimer>

#include <csignal>

class TerminationTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aRequestToEndLeavesTheLoopAndAFailedWriteDoesNot()
    {
        Platform::quitOnTerminationSignals();
        for (const int request : {SIGTERM, SIGINT, SIGHUP}) {
            for (const int failure : {SIGXFSZ, SIGPIPE})
                QCOMPARE(std::raise(failure), 0);
            QTimer::singleShot(0, this, [=] { std::raise(request); });
            QCOMPARE(QCoreApplication::exec(), 0);
        }
    }
};

QTEST_GUILESS_MAIN(TerminationTests)
#include "TerminationTests.moc"
