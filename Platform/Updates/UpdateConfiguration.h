#pragma once

#include <QString>

namespace Platform {

/// What the program knows about its own updates.
struct UpdateConfiguration
{
    QString program; ///< the name people know
    QString version; ///< of this program, numbers with dots between
    /// Where the feed is; empty means that updates come from the package manager.
    QString feed;
    QString publicKey; ///< the publisher's Ed25519 key, 32 bytes in base64

    /// As set when the program was built.
    [[nodiscard]] static UpdateConfiguration builtIn();
};

} // namespace Platform
