// Somebody else's window: prints what is typed into it.

#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QRasterWindow>

#include <cstdio>

class VictimWindow final : public QRasterWindow
{
protected:
    void keyPressEvent(QKeyEvent *event) override
    {
        std::fputs(event->text().toUtf8().constData(), stdout);
        std::fflush(stdout);
    }
    void paintEvent(QPaintEvent *) override
    {
        QPainter(this).fillRect(QRect(QPoint(), size()), QColor(90, 130, 170));
    }
};

int main(int argc, char *argv[])
{
    QGuiApplication application(argc, argv);
    VictimWindow window;
    window.setTitle(QStringLiteral("Victim"));
    window.setGeometry(300, 200, 700, 450); // all around a card in the middle
    window.show();
    return application.exec();
}
