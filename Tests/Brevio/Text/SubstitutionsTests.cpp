#include "Brevio/Text/SpellWords.h"
#include "Brevio/Text/Substitutions.h"

#include <QJsonObject>
#include <QTest>

#include <array>

using Brevio::Substitutions;

class SubstitutionsTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void eachCharacterIsSubstitutedAsItIsTyped()
    {
        const QJsonObject replacements{{u"omw"_qs, u"On my way!"_qs},
                                       {u"teh"_qs, u"the"_qs},
                                       {u"(r)"_qs, QString()},
                                       {u"2025"_qs, 3},
                                       {u" "_qs, u"x"_qs}};
        const std::initializer_list<std::array<const char *, 3>> rows{
            {"en_US", R"("Don't," she said.)", "“Don’t,” she said."},
            {"en_US", R"(("a 'b' c") "'d'")", "(“a ‘b’ c”) “‘d’”"},
            {"en_US", R"(6" and 5'10" and "7")", "6\" and 5’10\" and “7”"},
            {"en_US", R"(a="b" `"c"` "d")", R"(a="b" `"c"` “d”)"},
            {"de_AT", R"("Das 'geht' so's")", "„Das ‚geht‘ so’s“"},
            {"de_CH", R"("Ja" 'Nein')", "«Ja» ‹Nein›"},
            {"fr_FR", R"("l'eau")", "«\u00a0l’eau\u00a0»"},
            {"sv_SE", R"("hej")", "”hej”"},
            {"en", "a -- b --- c---d", "a — b — c—d"},
            {"en", "done.--\"x\"", "done.—“x”"},
            {"en", "an   end--\n", "an   end—\n"},
            {"en", "ls --all; i--; a --> b <!-- c", "ls --all; i--; a --> b <!-- c"},
            {"en", "--- \n-- Me\na----b ", "--- \n-- Me\na----b "},
            {"en", "(c) 2025 (tm), ", "© 2025 ™, "},
            {"en", "f(c) a[0](c) (a)(c) e\u0301omw ", "f(c) a[0](c) (a)(c) e\u0301omw "},
            {"en", "omw!", "On my way!!"},
            {"en", "teh. (r) x--teh\n((c))", "the. (r) x—the\n(©)"},
            {"en", R"(a.org/omw "omw")", "a.org/omw “On my way!”"},
            {"en", "https://a--b.org/(c) me@x--y ", "https://a--b.org/(c) me@x--y "}};
        for (const auto &[language, typed, written] : rows) {
            const Substitutions substitutions(QString::fromUtf8(language), replacements);
            QString text;
            for (const QChar c : QString::fromUtf8(typed)) {
                text += c;
                while (const auto made = substitutions.afterTyping(text))
                    text.replace(made->start, made->length, made->text);
            }
            QCOMPARE(text, QString::fromUtf8(written));
        }
        // What is no dictionary counts as none.
        QCOMPARE(Substitutions(u"en"_qs, QJsonValue(7)).afterTyping(u"(c) ")->text, u"©"_qs);
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
