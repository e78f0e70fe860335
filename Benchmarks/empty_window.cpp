// The least that a program with a Qt window can cost: what Brevio is measured against.

#include <QApplication>
#include <QWidget>

int main(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    QWidget window;
    window.setWindowTitle(QStringLiteral("Empty"));
    window.setGeometry(410, 260, 460, 280);
    window.show();
    return QApplication::exec();
}
