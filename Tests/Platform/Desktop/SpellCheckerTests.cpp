#include "Platform/Desktop/SpellChecker.h"

#include "Tests/Support/ManualTime.h"
#include "Tests/Support/ThreadShortage.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using namespace std::chrono_literals;
using Platform::SpellChecker;

/// With the US English dictionary that is installed, and a home of its own.
class SpellCheckerTests final : public QObject
{
    Q_OBJECT

    [[nodiscard]] std::optional<QStringList> wrong(const QStringList &words)
    {
        std::optional<QStringList> found;
        const auto request =
            m_checker->check(words, [&](const QStringList &answer) { found = answer; });
        (void)QTest::qWaitFor([&] { return found.has_value(); });
        return found;
    }

    static qsizetype threads()
    {
        return QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs).size();
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

    void wordsOfTheUsersLanguagesAreRight()
    {
        for (const auto &[languages, wrongWords] :
             {std::pair("", u"recieve Xqzt"_qs), // then it is English
              {"zz:en_US.UTF-8", u"recieve Xqzt"_qs},
              {"zz", QString()}}) {
            qputenv("LANGUAGE", languages);
            m_checker = SpellChecker::createForDesktop(m_queue);
            const auto all = u"house recieve don't don’t Xqzt привет 日本"_qs;
            QCOMPARE(wrong(all.split(u' '))->join(u' '), wrongWords);
            QCOMPARE(m_checker->isAvailable(), !wrongWords.isEmpty());
        }
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
        QCOMPARE(wrong({words[0], QStringLiteral("caféish")}), QStringList());
    }

    void unusedDictionariesAreReleasedAndLoadedAgain()
    {
        const QStringList word{QStringLiteral("recieve")};
        QCOMPARE(wrong(word), word);
        const auto whileLoaded = threads();
        m_queue.advance(10min);
        QTRY_VERIFY(threads() < whileLoaded);
        QCOMPARE(wrong(word), word);
    }

    void whatIsDroppedOrFindsNoThreadIsNotAnswered()
    {
        const QStringList word{QStringLiteral("recieve")};
        ThreadShortage::isOn = true;
        bool isAnswered = false;
        const auto answer = [&](const QStringList &) { isAnswered = true; };
        const std::array unanswered{m_checker->check(word, answer),
                                    m_checker->suggest(word.front(), answer)};
        m_checker->learn(QStringLiteral("brevity"));
        m_checker->release();
        ThreadShortage::isOn = false;
        m_checker->check(word, answer).reset();
        QCOMPARE(wrong(word), word); // asked later and answered
        QVERIFY(!isAnswered);
        QVERIFY(m_checker->isAvailable());
    }
};

QTEST_GUILESS_MAIN(SpellCheckerTests)
#include "SpellCheckerTests.moc"
