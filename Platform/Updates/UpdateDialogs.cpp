#include "Platform/Updates/UpdateDialogs.h"

#include "Platform/Updates/ReleaseNotes.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

namespace Platform {

namespace {

constexpr int progressWidth = 340; // points
constexpr int offerWidth = 440;    // points
constexpr int notesHeight = 180;   // points

void prepare(QDialog &dialog, const QWidget *window)
{
    dialog.setWindowTitle(UpdateTexts::title());
    dialog.setWindowModality(window != nullptr ? Qt::WindowModal : Qt::NonModal);
    // A window that stands above others must not hide its own sheet.
    if (window != nullptr && window->windowFlags().testFlag(Qt::WindowStaysOnTopHint))
        dialog.setWindowFlag(Qt::WindowStaysOnTopHint);
}

QLabel *plainLabel(const QString &text)
{
    auto *label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

} // namespace

UpdateProgressDialog::UpdateProgressDialog(QWidget *window, const QString &text)
    : QDialog(window)
    , m_bar(new QProgressBar)
{
    prepare(*this, window);
    m_bar->setRange(0, 0);
    m_bar->setAccessibleName(text);
    auto *buttons = new QDialogButtonBox;
    buttons->addButton(UpdateTexts::cancel(), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(plainLabel(text));
    layout->addWidget(m_bar);
    layout->addWidget(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    m_bar->setMinimumWidth(progressWidth);
}

void UpdateProgressDialog::setPercent(int percent)
{
    m_bar->setRange(0, 100);
    m_bar->setValue(percent);
}

UpdateOfferDialog::UpdateOfferDialog(QWidget *window, const UpdateTexts::Notice &notice,
                                     const QString &notes)
    : QDialog(window)
{
    prepare(*this, window);
    auto *heading = plainLabel(notice.message);
    QFont bold = heading->font();
    bold.setBold(true);
    heading->setFont(bold);
    auto *buttons = new QDialogButtonBox;
    auto *download = buttons->addButton(UpdateTexts::download(), QDialogButtonBox::AcceptRole);
    buttons->addButton(UpdateTexts::later(), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    download->setDefault(true);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(heading);
    layout->addWidget(plainLabel(notice.explanation));
    if (const QString text = releaseNotesText(notes); !text.isEmpty()) {
        auto *view = new QPlainTextEdit(text);
        view->setReadOnly(true);
        view->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        view->setTabChangesFocus(true);
        view->setAccessibleName(UpdateTexts::notes());
        view->setMinimumHeight(notesHeight);
        layout->addWidget(view, 1);
    }
    layout->addWidget(buttons);
    setMinimumWidth(offerWidth);
    download->setFocus();
}

} // namespace Platform
