#include "Platform/Storage/CloudDrive.h"

namespace Platform {

namespace {

class NoCloudDrive final : public CloudDrive
{
public:
    bool isSignedIn() const override { return false; }
    std::optional<QString> containerRoot(const QString &) const override { return std::nullopt; }
};

} // namespace

CloudDrive &CloudDrive::system()
{
    static NoCloudDrive drive;
    return drive;
}

} // namespace Platform
