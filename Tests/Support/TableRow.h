#pragma once

#include <QTest>

/// Stands at the top of a loop over a table: says in which row a check has failed, where the check
/// itself does not.
class TableRow final
{
public:
    explicit TableRow(QString name)
        : m_name(std::move(name))
    {}
    ~TableRow()
    {
        if (QTest::currentTestFailed())
            qWarning("In the row \"%s\"", qPrintable(m_name));
    }
    TableRow(const TableRow &) = delete;
    TableRow &operator=(const TableRow &) = delete;

private:
    QString m_name;
};
