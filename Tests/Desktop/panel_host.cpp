// The card's panel without the rest of the program, moved by lines on standard input: show, hide,
// shake, alpha <number>, key. Argument: the path of the defaults file.

#include "Brevio/CardPanel.h"

#include <QApplication>
#include <QPainter>
#include <QSocketNotifier>
#include <QTextEdit>

#include <array>
#include <cstdio>
#include <string>

#include <unistd.h>

namespace {

/// A cream sheet with a text in the middle, like the card.
class Sheet final : public QWidget
{
public:
    Sheet()
    {
        text = new QTextEdit(this);
        text->setFrameStyle(QFrame::NoFrame);
        text->setGeometry(22, 22, 416, 236);
        connect(text, &QTextEdit::textChanged, text, [this] {
            std::puts(text->toPlainText().toUtf8().constData());
            std::fflush(stdout);
        });
    }

    QTextEdit *text;

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(254, 252, 242));
        painter.drawRoundedRect(QRectF(rect()), 14, 14);
    }
};

void obey(const std::string &line, Brevio::CardPanel &panel, const Sheet &sheet)
{
    if (line == "show") {
        panel.restoreOrigin();
        panel.makeKeyAndOrderFront();
        panel.makeFirstResponder(sheet.text);
    } else if (line == "hide") {
        panel.orderOut();
    } else if (line == "shake") {
        panel.shake();
    } else if (line == "key") {
        std::puts(panel.isKeyWindow() ? "is key" : "is not key");
        std::fflush(stdout);
    } else if (line.starts_with("alpha ")) {
        panel.setAlpha(std::stod(line.substr(6)));
    }
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    if (argc < 2)
        return 2;
    auto &queue = Platform::MainQueue::main();
    Platform::UserDefaults defaults(QString::fromLocal8Bit(argv[1]), queue);
    const auto screens = Platform::Screens::createForDesktop();
    Brevio::CardPanel panel(defaults, *screens, queue);
    auto *sheet = new Sheet;
    panel.setContentView(sheet);
    panel.windowDidMove = [&] { panel.persistOrigin(); };

    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    std::string pending;
    QObject::connect(&input, &QSocketNotifier::activated, &application, [&] {
        std::array<char, 256> chunk;
        const auto count = read(STDIN_FILENO, chunk.data(), chunk.size());
        if (count <= 0)
            return application.quit();
        pending.append(chunk.data(), static_cast<std::size_t>(count));
        for (auto end = pending.find('\n'); end != std::string::npos; end = pending.find('\n')) {
            obey(pending.substr(0, end), panel, *sheet);
            pending.erase(0, end + 1);
        }
    });
    return application.exec();
}
