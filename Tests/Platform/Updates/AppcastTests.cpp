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

    void hostileAndBrokenFeedsAreRefused_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("expected");
        const auto refuse = [](const char *name, const QByteArray &bytes, AppcastRefusal why) {
            QTest::newRow(name) << bytes << static_cast<int>(why);
        };
        const auto bad = [&](const char *name, const QByteArray &was, const QByteArray &now) {
            refuse(name, feed(item("1.0", was, now)), AppcastRefusal::BadRelease);
        };
        const QByteArray signature = QByteArray(64, 'k').toBase64();
        refuse("too large", QByteArray(largestAppcast + 1, ' '), AppcastRefusal::TooLarge);
        refuse("entities", feed(item("1.0"), "<!DOCTYPE r [<!ENTITY a 'a'>]>"),
               AppcastRefusal::Forbidden);
        refuse("another encoding", feed(item("1.0"), "<?xml version='1.0' encoding='latin1'?>"),
               AppcastRefusal::Forbidden);
        refuse("not UTF-8", feed(item("1.0", "Notes", "\xff")), AppcastRefusal::Forbidden);
        refuse("absurdly deep", feed(item("1.0", "Notes", QByteArray("<a>").repeated(80000))),
               AppcastRefusal::Forbidden);
        refuse("cut off", feed(item("1.0")).chopped(9), AppcastRefusal::Unreadable);
        refuse("a web page", "<html><body>Sign in</body></html>", AppcastRefusal::Unreadable);
        refuse("no release", feed({}), AppcastRefusal::NothingHere);

        bad("no version", "s:version='1.0'", "");
        bad("an endless version", "'1.0'", "'" + QByteArray("1.").repeated(999) + "1'");
        bad("plain http on this machine, from elsewhere", "https://a.example", "http://127.0.0.1");
        bad("a user's name", "//a", "//me@a");
        bad("a length with a sign", "'12'", "'+12'");
        bad("an absurd length", "'12'", "'67108865'");
        bad("a signature a byte long", signature, QByteArray(65, 'k').toBase64());
        bad("a signature with other characters", signature, "*" + signature);
        refuse("the newest is bad, an older one is not",
               feed(item("1.0") + item("2.0", signature, "")), AppcastRefusal::BadRelease);
    }

    void hostileAndBrokenFeedsAreRefused()
    {
        QFETCH(QByteArray, bytes);
        const auto answer = readAppcast(bytes, QUrl(QStringLiteral("https://a.example/feed")));
        const auto *refusal = std::get_if<AppcastRefusal>(&answer);
        QVERIFY(refusal);
        QTEST(static_cast<int>(*refusal), "expected");
    }
};

QTEST_APPLESS_MAIN(AppcastTests)
#include "AppcastTests.moc"
