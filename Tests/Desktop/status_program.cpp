// A program that is nothing but a status item. Its menu counts its openings, and says when its
// entry is chosen. Each line on its input switches the item off, or on again.
#include "Platform/Desktop/StatusItem.h"

#include <QApplication>
#include <QMenu>
#include <QSocketNotifier>

#include <cstdio>
#include <unistd.h>

using namespace Qt::StringLiterals;

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QApplication::setApplicationName(u"Brevio"_s);
    QApplication::setQuitOnLastWindowClosed(false);

    QMenu menu;
    menu.setWindowTitle(u"Menu"_s);
    int openings = 0;
    QObject::connect(&menu, &QMenu::aboutToShow, [&] {
        menu.clear();
        menu.addAction(u"Opening %1"_s.arg(++openings), [] {
            std::puts("chosen");
            std::fflush(stdout);
        });
        menu.addSeparator();
    });

    std::unique_ptr<Platform::StatusItem> item;
    const auto toggle = [&] {
        item = item ? nullptr
                    : std::make_unique<Platform::StatusItem>(u"Brevio"_s, u"note.text"_s, menu);
    };
    toggle();
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, [&] {
        char line = 0;
        if (::read(STDIN_FILENO, &line, 1) == 1)
            toggle();
        else
            input.setEnabled(false);
    });
    return QApplication::exec();
}
