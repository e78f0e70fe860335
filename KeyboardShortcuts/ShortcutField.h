#pragma once

#include <QLineEdit>

class QToolButton;

namespace KeyboardShortcuts {

/// A field with round ends that shows a line of text in its middle, or the placeholder, and has a
/// button behind the text (to clear it) or beside the field (to change it elsewhere). What it shows
/// cannot be edited or selected; what keys and clicks do is the derived class's business.
class ShortcutField : public QLineEdit
{
    Q_OBJECT

public:
    enum class Button { None, Clear, Change };

    explicit ShortcutField(QWidget *parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

Q_SIGNALS:
    void clearClicked();
    void changeClicked();

protected:
    void display(const QString &text, Button button);
    /// A ring around the field says that it listens.
    void setListening(bool isListening);

    void mousePressEvent(QMouseEvent *) override {}
    void mouseReleaseEvent(QMouseEvent *) override {}
    void mouseMoveEvent(QMouseEvent *) override {}
    void mouseDoubleClickEvent(QMouseEvent *) override {}
    void resizeEvent(QResizeEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void layOutButtons();
    /// What buttons take of the width.
    [[nodiscard]] int trailingWidth() const;

    QToolButton *m_clearButton;
    QToolButton *m_changeButton;
    bool m_isListening = false;
};

} // namespace KeyboardShortcuts
