#include "Tests/Desktop/Session.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

constexpr QRect panelPlace(0, 776, 1280, 24);
const QByteArray panel =
    "rounded = 0\nborder_width = 0\nbackground_color = %1 100\npanel_items = S\n"
    "panel_size = 100% 24\npanel_background_id = 1\n";

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
    void anXTrayHasTheIconWheneverItComes()
    {
        Session session;
        QVERIFY(session.isReady());
        Seat &seat = session.seat;
        for (const char *color : {"#202020", "#f0f0f0"}) {
            // The second one replaces one that died.
            const auto tray = startPanel(session.desktop, color);
            const auto icon = session.desktop.waitForWindow(u"Brevio"_s);
            QVERIFY(waitUntil([&] { return panelPlace.contains(seat.geometry(icon)); }));
            QVERIFY(waitUntil([&] { return isDrawn(seat.picture(seat.geometry(icon))); }));
            seat.click(seat.geometry(icon).center());
            QVERIFY(waitUntil([&] { return session.menu() != 0; }));
            // It is seen before it has the keyboard.
            QVERIFY(waitUntil([&] { return seat.press("Escape") && session.menu() == 0; }));
            tray->terminate();
            QVERIFY(waitUntil([&] { return seat.find(u"Brevio"_s) == 0; }));
        }
        QVERIFY(session.brevio->isRunning());
    }
};

QTEST_GUILESS_MAIN(StatusItemTests)
#include "StatusItemTests.moc"
