#pragma once

#include "Tests/Desktop/Desktop.h"

/// A panel of the newer kind on the desktop's bus, with one status item to look after. Ends with
/// this object, as when a panel dies.
class StatusHost final
{
public:
    explicit StatusHost(Desktop &desktop);

    /// The item, once one is there: "id", "title", "toolTip", "sizes" of its pictures. Empty when
    /// none comes.
    [[nodiscard]] QJsonObject waitForItem();
    [[nodiscard]] bool waitForNoItem();

    /// Opens the menu: its entries as the bus has them ("label" with its mnemonic's underscore,
    /// "type", "enabled", "shortcut"). Empty without an item.
    [[nodiscard]] QJsonArray menu() { return ask("menu").value(u"items").toArray(); }
    /// Opens the menu and chooses an entry; false when there is none of that label.
    [[nodiscard]] bool choose(const QString &label)
    {
        return ask("click " + label.toUtf8()).value(u"found").toBool();
    }
    /// Clicks the icon with the left button; returns once the program has been told.
    [[nodiscard]] bool activate() { return ask("activate").value(u"found").toBool(); }

private:
    [[nodiscard]] QList<QJsonObject> events() const;
    [[nodiscard]] QJsonObject item() const;
    [[nodiscard]] QJsonObject ask(const QByteArray &command);

    std::unique_ptr<Process> m_process;
    int m_answers = 0;
};
