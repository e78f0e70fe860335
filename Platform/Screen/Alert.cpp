#include "Platform/Screen/Alert.h"

#include <QApplication>
#include <QIcon>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>

namespace Platform {

namespace {

constexpr int iconSize = 48; // points

/// The message stands out from its explanation, and neither is read as markup: what they quote may
/// come from elsewhere.
void dress(QMessageBox &sheet)
{
    const QIcon icon = QApplication::windowIcon();
    if (!icon.isNull())
        sheet.setIconPixmap(icon.pixmap(QSize(iconSize, iconSize), sheet.devicePixelRatio()));
    for (auto *label : sheet.findChildren<QLabel *>()) {
        if (!label->pixmap().isNull())
            continue;
        label->setTextFormat(Qt::PlainText);
        if (label->text() == sheet.text()) {
            QFont strong = label->font();
            strong.setBold(true);
            label->setFont(strong);
        }
    }
}

} // namespace

QDialog *showAlert(QWidget *window, const Alert &alert, std::function<void(int)> answered)
{
    auto *sheet = new QMessageBox(window);
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    sheet->setWindowModality(window != nullptr ? Qt::WindowModal : Qt::ApplicationModal);
    // A window that stands above others must not hide its own sheet.
    if (window != nullptr && window->windowFlags().testFlag(Qt::WindowStaysOnTopHint))
        sheet->setWindowFlag(Qt::WindowStaysOnTopHint);
    sheet->setText(alert.message);
    sheet->setInformativeText(alert.explanation);
    dress(*sheet);
    // The message box would order its buttons by role, as the desktop's style likes them; with one
    // role for all they stay in the order given.
    for (const QString &title : alert.buttons)
        sheet->addButton(title, QMessageBox::ActionRole);
    const auto button = [sheet](int index) {
        return qobject_cast<QPushButton *>(sheet->buttons().value(index));
    };
    sheet->setDefaultButton(button(alert.defaultButton));
    sheet->setEscapeButton(button(alert.escapeButton));
    QObject::connect(sheet, &QDialog::finished, sheet,
                     [sheet, escape = alert.escapeButton, answered = std::move(answered)] {
                         const auto index = sheet->buttons().indexOf(sheet->clickedButton());
                         if (answered)
                             answered(index < 0 ? escape : static_cast<int>(index));
                     });
    sheet->open();
    return sheet;
}

} // namespace Platform
