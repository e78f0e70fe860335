#pragma once

#include "Platform/Updates/UpdateProblem.h"

#include <QDate>
#include <QString>

/// Everything that is said about updates, in the user's language.
namespace Platform::UpdateTexts {

struct Notice
{
    QString message;
    QString explanation;
};

[[nodiscard]] Notice fromPackageManager(const QString &program, const QString &version);
[[nodiscard]] Notice upToDate(const QString &program, const QString &version);
/// `published` may be null.
[[nodiscard]] Notice available(const QString &program, const QString &current,
                               const QString &offered, QDate published);
[[nodiscard]] Notice saved(const QString &fileName);
[[nodiscard]] Notice notOpened(const QString &fileName);
[[nodiscard]] Notice problem(UpdateProblem problem);

[[nodiscard]] QString title();
[[nodiscard]] QString checking();
[[nodiscard]] QString downloading(const QString &program, const QString &version);
[[nodiscard]] QString notes();

[[nodiscard]] QString ok();
[[nodiscard]] QString cancel();
[[nodiscard]] QString download();
[[nodiscard]] QString later();
[[nodiscard]] QString open();
[[nodiscard]] QString close();

} // namespace Platform::UpdateTexts
