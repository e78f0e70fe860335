#include "Platform/Updates/Appcast.h"

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
        QCOMPARE(found.length, 12);
        QCOMPARE(found.signature, QByteArray(64, 'k'));
        const auto another = item("2.0", "url=", "s:os='windows' url=");
        const auto own = item("1.5", "url=", "s:os='Linux' url=");
        QCOMPARE(newest(item("1.0") + another + own + "<item><title>News</title></item>").version,
                 QVersionNumber(1, 5));
    }

    void hostileAndBrokenFeedsAreRefused()
    {
        using enum AppcastRefusal;
        const QByteArray signature = QByteArray(64, 'k').toBase64();
        const auto with = [](const QByteArray &was, const QByteArray &now) {
            return feed(item("1.0", was, now));
        };
        const std::tuple<const char *, QByteArray, AppcastRefusal> rows[] = {
            {"entities", feed(item("1.0"), "<!DOCTYPE r [<!ENTITY a 'a'>]>"), Forbidden},
            {"absurdly deep", with("Notes", QByteArray("<a>").repeated(80000)), Forbidden},
            {"cut off", feed(item("1.0")).chopped(9), Unreadable},
            {"plain http", with("https://a.example", "http://127.0.0.1"), BadRelease},
            {"an absurd length", with("'12'", "'67108865'"), BadRelease},
            {"a long signature", with(signature, QByteArray(65, 'k').toBase64()), BadRelease},
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
