#include "Tests/Desktop/StatusHost.h"

#include <QJsonDocument>

using namespace Qt::StringLiterals;

StatusHost::StatusHost(Desktop &desktop)
    : m_process(desktop.start(QStringLiteral(SCRIPTS "/status-host.py")))
{}

QList<QJsonObject> StatusHost::events() const
{
    QList<QJsonObject> events;
    for (const auto &line : m_process->output().split('\n'))
        events.append(QJsonDocument::fromJson(line).object());
    return events;
}

QJsonObject StatusHost::item() const
{
    QJsonObject item;
    for (const auto &event : events()) {
        if (event.value(u"event") == u"item"_s)
            item = event;
        else if (event.value(u"service") == item.value(u"service"))
            item = {};
    }
    return item;
}

QJsonObject StatusHost::waitForItem()
{
    (void)waitUntil([this] { return !item().isEmpty(); });
    return item();
}

bool StatusHost::waitForNoItem()
{
    return waitUntil([this] { return item().isEmpty(); });
}

QJsonObject StatusHost::ask(const QByteArray &command)
{
    ++m_answers;
    m_process->write(command + '\n');
    QList<QJsonObject> answers;
    const bool isAnswered = waitUntil([&] {
        answers = events();
        answers.removeIf([](const auto &event) { return event.value(u"event") != u"answer"_s; });
        return answers.size() == m_answers;
    });
    return isAnswered ? answers.last() : QJsonObject();
}
