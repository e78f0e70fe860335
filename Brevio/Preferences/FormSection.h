#pragma once

#include <QList>
#include <QWidget>

class QVBoxLayout;

namespace Brevio {

/// A group of a form's rows on one rounded sheet, with lines between them. A hidden row takes its
/// line with it. Owns its rows. Main thread only.
class FormSection final : public QWidget
{
public:
    explicit FormSection(QWidget *parent = nullptr);

    /// Below the others. At least as tall as a comfortable row.
    void addRow(QWidget *row);
    /// Belongs to the row above: close to it, without a line between.
    void addNote(QWidget *note);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QVBoxLayout *m_layout;
    QList<QWidget *> m_rows;
};

} // namespace Brevio
