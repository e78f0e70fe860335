#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>

namespace Platform {

/// What the launcher gave this process for its first window; either may be empty.
struct StartupMarks
{
    QByteArray startupId;
    QByteArray activationToken;
};

/// One way of being the only copy, tried once.
struct InstanceClaim
{
    enum class Outcome {
        Held,        ///< ours, as long as the hold lives
        Answered,    ///< another copy's; it has been asked to show itself and has agreed
        Unanswered,  ///< another copy's, which was too busy or is going away: try again
        Unavailable, ///< this way says nothing here
    };
    Outcome outcome = Outcome::Unavailable;
    std::shared_ptr<void> hold;
};

/// Called on the main thread with an action id, which may be unknown, and the asking start's mark.
using InstanceDelivery = std::function<void(const QString &action, const QByteArray &startupMark)>;

/// The id as a name on the session bus.
[[nodiscard]] InstanceClaim claimBusName(const QString &applicationId, const StartupMarks &marks,
                                         std::chrono::milliseconds patience,
                                         InstanceDelivery deliver);

/// A socket in the abstract namespace, which is no file. The name is at most 107 bytes.
[[nodiscard]] InstanceClaim claimSocket(const QByteArray &name, const StartupMarks &marks,
                                        std::chrono::milliseconds patience,
                                        InstanceDelivery deliver);

} // namespace Platform
