#include "Platform/Screen/Alert.h"

#include <QApplication>
#include <QEvent>
#include <QIcon>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>

#include <utility>

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

/// Lets the sheet go and come with its window: alone it would not say whose it is, and behind a
/// window that came back it could not be answered, while that window takes no keys.
class Attachment final : public QObject
{
public:
    Attachment(QWidget &window, QDialog &sheet)
        : QObject(&sheet)
        , m_sheet(sheet)
    {
        window.installEventFilter(this);
    }

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Hide && !event->spontaneous() && m_sheet.isVisible()) {
            m_hasGone = true;
            m_sheet.hide();
        } else if (event->type() == QEvent::Show && std::exchange(m_hasGone, false)) {
            // Later: the window is going to be raised yet.
            QMetaObject::invokeMethod(
                &m_sheet,
                [&sheet = m_sheet] {
                    sheet.show();
                    sheet.raise();
                    sheet.activateWindow();
                },
                Qt::QueuedConnection);
        }
        return false;
    }

private:
    QDialog &m_sheet;
    bool m_hasGone = false;
};

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
    if (window != nullptr)
        new Attachment(*window, *sheet);
    sheet->open();
    return sheet;
}

} // namespace Platform
