#include "Platform/Updates/Appcast.h"
#include "Platform/Updates/ReleaseNotes.h"

#include <QTest>

using namespace Platform;

/// Reading the list of releases, which may be anything at all.
class AppcastTests final : public QObject
{
    Q_OBJECT

    static QByteArray feed(const QByteArray &items, const QByteArray &before = {})
    {
        return before + "<rss version='2.0' xmlns:s='urn:any'><channel><title>Releases</title>" +
               items + "</channel></rss>";
    }

    static QByteArray item(const QByteArray &version, const QByteArray &changed = {},
                           const QByteArray &to = {})
    {
        QByteArray xml = "<item><description>Notes</description>"
                         "<pubDate>Fri, 14 Mar 2025 09:00:00 +0000</pubDate>"
                         "<enclosure url='https://a.example/b.deb' length='12' type='x/y' "
                         "s:version='" +
                         version + "' s:edSignature='" + QByteArray(64, 'k').toBase64() +
                         "'/></item>";
        return changed.isEmpty() ? xml : xml.replace(changed, to);
    }

private Q_SLOTS:
    void theNewestReleaseForThisSystemCounts()
    {
        const auto newest = [](const QByteArray &items) {
            const auto answer = readAppcast(feed(items), QUrl(QStringLiteral("https://a.example")));
            const auto *found = std::get_if<AppcastItem>(&answer);
            return found ? *found : AppcastItem();
        };
        const auto found = newest(item("1.9.0") + item("1.10.0.0") + item("1.2"));
        QCOMPARE(found.shownVersion, QStringLiteral("1.10.0.0"));
        QCOMPARE(found.notes, QStringLiteral("Notes"));
        QCOMPARE(found.published, QDate(2025, 3, 14));
        QCOMPARE(found.length, 12);
        QCOMPARE(found.signature, QByteArray(64, 'k'));
        const auto another = item("2.0", "url=", "s:os='windows' url=");
        const auto own = item("1.5", "url=", "s:os='Linux' url=");
        QCOMPARE(newest(item("1.0") + another + own + "<item><title>News</title></item>").version,
                 QVersionNumber(1, 5));
        const auto html = item("7", "url=", "s:shortVersionString='2&lt;b>' url=");
        QCOMPARE(newest(html).shownVersion, QStringLiteral("7")); // a label would show it as HTML
    }

    void notesAreShownAsText()
    {
        const auto text = [](const char *notes) {
            return releaseNotesText(QString::fromLatin1(notes));
        };
        QCOMPARE(text("a < b\n  & c"), QStringLiteral("a < b\n  & c"));
        QCOMPARE(text("<h3 id=x>New</h3>\n<ul>\n <li>One\n <b>two</b></li><LI>3</LI></ul>"),
                 QStringLiteral("New\n• One two\n• 3"));
        QCOMPARE(text("1 &lt;b&gt; &amp;lt; &odd;<br/>2"), QStringLiteral("1 <b> &lt; &odd;\n2"));
        QCOMPARE(text("<head><title>T</title></head>a<!-- <p> -->b<script>1 > 0</SCRIPT>c<style>d"),
                 QStringLiteral("abc"));
        QCOMPARE(text("<p>a <p b"), QStringLiteral("a <p b"));
    }

    void hostileAndBrokenFeedsAreRefused()
    {
        using enum AppcastRefusal;
        const QByteArray signature = QByteArray(64, 'k').toBase64();
        const auto with = [](const QByteArray &was, const QByteArray &now) {
            return feed(item("1.0", was, now));
        };
        const std::tuple<const char *, QByteArray, AppcastRefusal> rows[] = {
            {"too large", QByteArray(largestAppcast + 1, ' '), TooLarge},
            {"entities", feed(item("1.0"), "<!DOCTYPE r [<!ENTITY a 'a'>]>"), Forbidden},
            {"latin1", feed(item("1.0"), "<?xml version='1.0' encoding='latin1'?>"), Forbidden},
            {"not UTF-8", with("Notes", "\xff"), Forbidden},
            {"absurdly deep", with("Notes", QByteArray("<a>").repeated(80000)), Forbidden},
            {"cut off", feed(item("1.0")).chopped(9), Unreadable},
            {"a web page", "<html><body>Sign in</body></html>", Unreadable},
            {"no release", feed({}), NothingHere},
            {"no version", with("s:version='1.0'", ""), BadRelease},
            {"endless version", with("'1.0'", "'" + QByteArray("1.").repeated(999) + "1'"),
             BadRelease},
            {"plain http from elsewhere", with("https://a.example", "http://127.0.0.1"),
             BadRelease},
            {"a user's name", with("//a", "//me@a"), BadRelease},
            {"a length with a sign", with("'12'", "'+12'"), BadRelease},
            {"an absurd length", with("'12'", "'67108865'"), BadRelease},
            {"a long signature", with(signature, QByteArray(65, 'k').toBase64()), BadRelease},
            {"other characters", with(signature, "*" + signature), BadRelease},
            {"only an older one is good", feed(item("1.0") + item("2.0", signature, "")),
             BadRelease}};
        for (const auto &[name, bytes, why] : rows) {
            const auto answer = readAppcast(bytes, QUrl(QStringLiteral("https://a.example/feed")));
            const auto *refusal = std::get_if<AppcastRefusal>(&answer);
            QVERIFY2(refusal && *refusal == why, name);
        }
    }
};

QTEST_APPLESS_MAIN(AppcastTests)
#include "AppcastTests.moc"
