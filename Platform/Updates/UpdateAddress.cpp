#include "Platform/Updates/UpdateAddress.h"

#include <QStringList>
#include <QUrl>

namespace Platform::UpdateAddress {

namespace {

const auto secureScheme = QStringLiteral("https");
const auto plainScheme = QStringLiteral("http");
const QStringList thisMachine = {QStringLiteral("127.0.0.1"), QStringLiteral("::1"),
                                 QStringLiteral("localhost")};

} // namespace

bool isUsable(const QUrl &address)
{
    if (!address.isValid() || address.host().isEmpty() || !address.userInfo().isEmpty())
        return false;
    return address.scheme() == secureScheme ||
           (address.scheme() == plainScheme && thisMachine.contains(address.host()));
}

bool isUsableFrom(const QUrl &feed, const QUrl &address)
{
    return isUsable(address) && (address.scheme() == secureScheme || feed.scheme() == plainScheme);
}

} // namespace Platform::UpdateAddress
