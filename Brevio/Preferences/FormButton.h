#pragma once

#include <QPushButton>

namespace Brevio {

/// A push button in the form's own manner: flat, rounded, with room around its text. Keys, screen
/// readers and mnemonics work as with any button. Main thread only.
class FormButton final : public QPushButton
{
public:
    explicit FormButton(const QString &title, QWidget *parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace Brevio
