#pragma once

#include <QString>

#include <optional>

namespace Platform {

/// The user's synced folder, as far as this machine knows one. Main thread only.
class CloudDrive
{
public:
    virtual ~CloudDrive() = default;

    /// Whether the user has a synced folder here at all.
    [[nodiscard]] virtual bool isSignedIn() const = 0;

    /// The absolute path of the folder set apart for the application with this identifier; it need
    /// not exist yet. Nothing when the drive cannot give one (now).
    [[nodiscard]] virtual std::optional<QString> containerRoot(const QString &identifier) const = 0;

    /// The machine's drive. Lives as long as the process.
    static CloudDrive &system();
};

} // namespace Platform
