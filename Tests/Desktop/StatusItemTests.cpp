#include "Tests/Desktop/StatusHost.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

constexpr QRect panelPlace(0, 776, 1280, 24);
const QByteArray panel =
    "rounded = 0\nborder_width = 0\nbackground_color = %1 100\npanel_items = S\n"
    "panel_size = 100% 24\npanel_background_id = 1\n";
const QByteArray toggle = "\n";

} // namespace

class StatusItemTests final : public QObject
{
    Q_OBJECT

    std::unique_ptr<Process> startPanel(Desktop &desktop, const QByteArray &color)
    {
        const QString file = desktop.home() + u"/panel"_s;
        desktop.write(file, QByteArray(panel).replace("%1", color));
        return desktop.start(u"tint2"_s, {u"-c"_s, file});
    }

    /// Lines on a sheet: the icon brings its own contrast, whatever the panel's colour.
    static bool isDrawn(const QImage &icon)
    {
        int lightest = 0;
        int darkest = 255;
        for (int at = 0; at < icon.width() * icon.height(); ++at) {
            const int gray = qGray(icon.pixel(at % icon.width(), at / icon.width()));
            lightest = std::max(lightest, gray);
            darkest = std::min(darkest, gray);
        }
        return lightest > 200 && darkest < 70;
    }

private Q_SLOTS:
    void aNotifierHostHasTheIconWheneverItComes()
    {
        Desktop desktop;
        QCOMPARE(desktop.problem(), QByteArray());
        auto host = std::make_unique<StatusHost>(desktop);
        const auto program = desktop.start(QStringLiteral(STATUS_PROGRAM));
        const auto item = host->waitForItem();
        QCOMPARE(item.value(u"id").toString(), u"Brevio"_s);
        QCOMPARE(item.value(u"title").toString(), u"Brevio"_s);
        QCOMPARE(item.value(u"toolTip").toString(), u"Brevio"_s);
        QVERIFY(item.value(u"sizes").toArray().contains(22));

        QCOMPARE(host->labels(), QStringList({u"Opening 1"_s, QString()}));
        QVERIFY(host->choose(u"Opening 2"_s));
        QVERIFY(waitUntil([&] { return program->output().contains("chosen\n"); }));
        QVERIFY(host->activate());
        QVERIFY(desktop.waitForWindow(u"Menu"_s) != 0);

        host.reset();
        host = std::make_unique<StatusHost>(desktop);
        QVERIFY(!host->waitForItem().isEmpty());
        QCOMPARE(host->labels().first(), u"Opening 4"_s);
    }

    void anXTrayHasTheIconWheneverItComes()
    {
        Desktop desktop;
        QCOMPARE(desktop.problem(), QByteArray());
        const auto program = desktop.start(QStringLiteral(STATUS_PROGRAM));
        auto &seat = desktop.seat();
        for (const char *color : {"#202020", "#f0f0f0"}) {
            // The second one replaces one that died.
            auto tray = startPanel(desktop, color);
            const auto icon = desktop.waitForWindow(u"Brevio"_s);
            QVERIFY(icon != 0);
            QVERIFY(waitUntil([&] { return panelPlace.contains(seat.geometry(icon)); }));
            QVERIFY(waitUntil([&] { return isDrawn(seat.picture(seat.geometry(icon))); }));
            seat.click(seat.geometry(icon).center());
            QVERIFY(desktop.waitForWindow(u"Menu"_s) != 0);
            // A menu is seen before it has the keyboard, which nobody else has here.
            QVERIFY(waitUntil([&] { return seat.press("Escape") && seat.find(u"Menu"_s) == 0; }));

            program->write(toggle);
            QVERIFY(waitUntil([&] { return seat.find(u"Brevio"_s) == 0; }));
            program->write(toggle);
            QVERIFY(desktop.waitForWindow(u"Brevio"_s) != 0);
            tray.reset();
            QVERIFY(waitUntil([&] { return seat.find(u"Brevio"_s) == 0; }));
        }
        QVERIFY(program->isRunning());
    }
};

QTEST_GUILESS_MAIN(StatusItemTests)
#include "StatusItemTests.moc"
