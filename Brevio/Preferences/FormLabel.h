#pragma once

#include <QLabel>

namespace Brevio {

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
