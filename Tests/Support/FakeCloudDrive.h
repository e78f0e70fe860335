#pragma once

#include "Platform/Storage/CloudDrive.h"

/// A synced folder that the test signs in and out of, and that remembers what was asked of it.
class FakeCloudDrive final : public Platform::CloudDrive
{
public:
    bool isSignedIn() const override { return signedIn; }
    std::optional<QString> containerRoot(const QString &identifier) const override
    {
        askedFor = identifier;
        return root;
    }

    bool signedIn = false;
    std::optional<QString> root;
    mutable QString askedFor; ///< the identifier of the latest request; empty when there was none
};
