#include "Brevio/SpellWords.h"
#include "Brevio/Substitutions.h"

#include <QJsonObject>
#include <QTest>

using Brevio::Substitutions;

class SubstitutionsTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// Each row is typed a character at a time.
    void typing_data()
    {
        QTest::addColumn<QString>("language");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("written");
        const auto row = [](const char *language, const char *typed, const char *written) {
            QTest::addRow("%s: %s", language, typed)
                << QString::fromUtf8(language) << QString::fromUtf8(typed)
                << QString::fromUtf8(written);
        };
        row("en_US", R"("Don't," she said.)", "“Don’t,” she said.");
        row("en_US", R"(("a 'b' c") "'d'")", "(“a ‘b’ c”) “‘d’”");
        row("en_US", "a\n\"b\"", "a\n“b”");
        row("en_US", R"(6" and 5'10" and "7")", "6\" and 5’10\" and “7”");
        row("en_US", R"(a="b" `"c"` "d")", R"(a="b" `"c"` “d”)");
        row("tlh", R"("a")", "“a”");
        row("de_AT", R"("Das 'geht' so's")", "„Das ‚geht‘ so’s“");
        row("de_CH", R"("Ja" 'Nein')", "«Ja» ‹Nein›");
        row("fr_FR", R"("l'eau")", "«\u00a0l’eau\u00a0»");
        row("sv_SE", R"("hej")", "”hej”");
        row("pl_PL", R"("tak")", "„tak”");

        row("en", "yes--no ", "yes—no ");
        row("en", "a -- b --- c---d", "a — b — c—d");
        row("en", "done.--\"x\"", "done.—“x”");
        row("en", "end--\n", "end—\n");
        row("en", "ls --all; i--; a --> b <!-- c", "ls --all; i--; a --> b <!-- c");
        row("en", "--- \n-- Me\na----b ", "--- \n-- Me\na----b ");

        row("en", "(c) 2025 (tm), ", "© 2025 ™, ");
        row("en", "f(c) a[0](c) (a)(c) e\u0301omw ", "f(c) a[0](c) (a)(c) e\u0301omw ");
        row("en", "omw!", "On my way!!");
        row("en", "womw omws ", "womw omws ");
        row("en", "teh. (r) x--teh\n((c))", "the. (r) x—the\n(©)");
        row("en", R"(a.org/omw "omw")", "a.org/omw “On my way!”");
        row("en", "https://a--b.org/(c) me@x--y ", "https://a--b.org/(c) me@x--y ");
    }

    void typing()
    {
        QFETCH(QString, language);
        QFETCH(QString, typed);
        QFETCH(QString, written);
        const Substitutions substitutions(
            language, QJsonObject{{QStringLiteral("omw"), QStringLiteral("On my way!")},
                                  {QStringLiteral("teh"), QStringLiteral("the")},
                                  {QStringLiteral("(r)"), QString()},
                                  {QStringLiteral("2025"), 3},
                                  {QStringLiteral(" "), QStringLiteral("x")}});
        QString text;
        for (const QChar c : typed) {
            text += c;
            while (const auto made = substitutions.afterTyping(text))
                text.replace(made->start, made->length, made->text);
        }
        QCOMPARE(text, written);
    }

    void replacementsThatAreNoDictionaryCountAsNone()
    {
        const Substitutions substitutions(QStringLiteral("en"), QJsonValue(7));
        QCOMPARE(substitutions.afterTyping(u"(c) ")->text, QStringLiteral("©"));
        QVERIFY(!substitutions.afterTyping({}));
    }

    void onlyProseIsSpelled()
    {
        const QString text = QString::fromUtf8(
            "Don’t it's 'quoted' O’Brien a mp3 NASA iPhone and/or well-known end.\n"
            "www.abc.de me@abc.de http://abc.de /usr/bin file.txt e.g. --flag #tag a_b 日本 ok");
        QStringList found;
        for (const auto &word : Brevio::SpellWords::words(text))
            found << text.sliced(word.start, word.length);
        QCOMPARE(found.join(u' '),
                 QString::fromUtf8("Don’t it's quoted O’Brien and or well known end ok"));
    }
};

QTEST_GUILESS_MAIN(SubstitutionsTests)
#include "SubstitutionsTests.moc"
