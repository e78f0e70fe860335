#pragma once

#include "Platform/Core/MainQueue.h"
#include "Platform/Screen/Animation.h"
#include "Platform/Screen/Appearance.h"

#include <QAbstractButton>

#include <functional>

class QJsonValue;

namespace Platform {
class SpellChecker;
}

namespace Brevio {

class BoundedTextView;

/// The face of the card: the editor, the yellow mark of a pinned note, and the button that opens
/// the grid, which shows while the pointer moves over the card. Paints no background: the
/// container's cream lies behind. Main thread only.
class CardContentView final : public QWidget
{
    Q_OBJECT

public:
    /// The appearance and the queue must outlive the view.
    CardContentView(Platform::Appearance &appearance, Platform::MainQueue &queue,
                    QWidget *parent = nullptr);

    /// Owned by the view; lives as long.
    [[nodiscard]] BoundedTextView *textView() const { return m_textView; }
    [[nodiscard]] QAbstractButton *gridButton() const;
    /// 0 while nobody moves the pointer over the card, 1 while somebody does.
    [[nodiscard]] double gridButtonAlpha() const;

    /// Turns on what the editor does by itself: it marks misspelled words, if there is a checker,
    /// which must outlive the view, and substitutes quotation marks and dashes in the user's
    /// language, and the user's own replacements (see Substitutions).
    void setWritingAids(Platform::SpellChecker *checker, const QJsonValue &replacements);

    /// The mark is hidden at first.
    [[nodiscard]] bool isPinIndicatorHidden() const;
    void setPinIndicatorHidden(bool hidden);
    /// While it fades away, what lies beneath gets the mouse everywhere but on the grid button.
    void setMousePassesThrough(bool passes);

    /// The grid button was pressed; it can be while it is transparent.
    std::function<void()> onGridButtonTapped;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    class GridButton;
    class PinMark;

    void applyColors();
    void pointerMoved();
    void fadeGridButton(double alpha);

    Platform::Appearance &m_appearance;
    Platform::MainQueue &m_queue;
    BoundedTextView *m_textView;
    PinMark *m_pinIndicator;
    GridButton *m_gridButton;
    double m_gridButtonTarget = 0.0;
    Platform::Animation m_fade;
    Platform::MainQueue::Pending m_idle;
};

} // namespace Brevio
