#pragma once

#include <QLabel>

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

/// A form's dimmed text: a caption in small type, which wraps onto as many lines as it needs, or a
/// section's header in bold. Follows the palette. Main thread only.
class FormLabel final : public QLabel
{
public:
    enum class Kind { Caption, Header };
    FormLabel(Kind kind, const QString &text, QWidget *parent = nullptr);

protected:
    void changeEvent(QEvent *event) override;

private:
    void applyColor();
    bool m_isApplying = false;
};

} // namespace Brevio
