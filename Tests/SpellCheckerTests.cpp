#include "Platform/Desktop/SpellChecker.h"

#include "Tests/Support/ManualTime.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using namespace std::chrono_literals;
using Platform::SpellChecker;

/// With the US English dictionary that is installed, and a home of its own.
class SpellCheckerTests final : public QObject
{
    Q_OBJECT

private:
    [[nodiscard]] std::optional<QStringList> wrong(const QStringList &words)
    {
        std::optional<QStringList> found;
        const auto request =
            m_checker->check(words, [&](const QStringList &answer) { found = answer; });
        (void)QTest::qWaitFor([&] { return found.has_value(); });
        return found;
    }

    QTemporaryDir m_home;
    ManualQueue m_queue;
    std::unique_ptr<SpellChecker> m_checker;

private Q_SLOTS:
    void init()
    {
        qputenv("HOME", m_home.path().toUtf8());
        qputenv("XDG_CONFIG_HOME", m_home.filePath(QStringLiteral("config")).toUtf8());
        for (const char *variable : {"LANGUAGE", "LC_ALL", "LC_MESSAGES"})
            qunsetenv(variable);
        qputenv("LANG", "C.UTF-8");
        m_checker = SpellChecker::createForDesktop(m_queue);
    }

    void wordsOfTheUsersLanguagesAreRight_data()
    {
        QTest::addColumn<QByteArray>("language");
        QTest::addColumn<QStringList>("wrongWords");
        const auto words = [](const char *text) { return QString::fromUtf8(text).split(u' '); };
        QTest::newRow("no language is English") << QByteArray("C.UTF-8") << words("recieve Xqzt");
        QTest::newRow("the first one has no dictionary")
            << QByteArray("zz:en_US.UTF-8") << words("recieve Xqzt");
        QTest::newRow("no dictionary at all") << QByteArray("zz_ZZ") << QStringList();
    }

    void wordsOfTheUsersLanguagesAreRight()
    {
        QFETCH(QByteArray, language);
        QFETCH(QStringList, wrongWords);
        qputenv("LANG", language.startsWith("zz:") ? "en_US.UTF-8" : language);
        if (language.contains(':'))
            qputenv("LANGUAGE", language);
        const QString all = QString::fromUtf8("house recieve don't don’t caf\u0065\u0301 Xqzt "
                                              "привет 日本");
        auto expected = wrongWords;
        if (!expected.isEmpty() && wrong({QStringLiteral("café")})->size() == 1)
            expected.insert(1, QString::fromUtf8("caf\u0065\u0301"));
        QCOMPARE(wrong(all.split(u' ')), expected);
        QCOMPARE(m_checker->isAvailable(), !wrongWords.isEmpty());
    }

    void suggestionsAreFewAndNearTheWord()
    {
        QStringList found;
        const auto request = m_checker->suggest(QStringLiteral("hous"),
                                                [&](const QStringList &answer) { found = answer; });
        QTRY_VERIFY(!found.isEmpty());
        QVERIFY(found.size() <= SpellChecker::mostSuggestions);
        QVERIFY(found.contains(QStringLiteral("house")));
    }

    void aLearnedWordStaysRight()
    {
        const QStringList words{QStringLiteral("brevioish"), QStringLiteral("cafe\u0301ish")};
        QCOMPARE(wrong(words), words);
        m_checker = SpellChecker::createForDesktop(m_queue);
        for (const QString &word : words)
            m_checker->learn(word);
        m_checker = SpellChecker::createForDesktop(m_queue); // before a dictionary was loaded
        QCOMPARE(wrong(words), QStringList());
    }

    void unusedDictionariesAreReleasedAndLoadedAgain()
    {
        const QStringList word{QStringLiteral("recieve")};
        const auto threads = [] {
            return QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs).size();
        };
        const auto before = threads();
        QCOMPARE(wrong(word), word);
        QVERIFY(threads() > before);
        m_queue.advance(9min);
        QVERIFY(threads() > before);
        m_queue.advance(1min);
        QTRY_COMPARE(threads(), before);
        QCOMPARE(m_queue.pendingJobs(), 0);
        QCOMPARE(wrong(word), word);
    }

    void aDroppedQuestionIsNotAnswered()
    {
        bool isAnswered = false;
        auto request = m_checker->check({QStringLiteral("recieve")},
                                        [&](const QStringList &) { isAnswered = true; });
        request.reset();
        QVERIFY(wrong({QStringLiteral("recieve")})); // asked later and answered
        QVERIFY(!isAnswered);
    }
};

QTEST_GUILESS_MAIN(SpellCheckerTests)
#include "SpellCheckerTests.moc"
