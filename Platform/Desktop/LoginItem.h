#pragma once

#include <QString>

#include <memory>

namespace Platform {

/// Whether the session starts the program when the user logs in. Every call looks at what is
/// there now; failures are false and cost one line in the logging category "brevio.loginitem",
/// which is off unless asked for. Main thread only.
class LoginItem
{
public:
    enum class Status {
        NotRegistered = 0,    ///< no entry, or one whose program is gone
        Enabled = 1,          ///< the session starts what the entry names
        RequiresApproval = 2, ///< switched off in the session's own settings
        NotFound = 3,         ///< the program is missing or the entry's folder cannot be written
    };
    /// Who wants the change. A launch does not overrule a user who switched the entry off.
    enum class Origin { Launch, User };

    struct Program
    {
        QString id;         ///< of the entry's file and of the icon
        QString name;       ///< as the session's settings show it
        QString executable; ///< absolute
    };

    virtual ~LoginItem() = default;

    [[nodiscard]] virtual Status status() const = 0;
    /// True when the item is enabled afterwards. One that was is left byte for byte as it was;
    /// one that the user switched off or wrote keeps the user's other keys.
    [[nodiscard]] virtual bool registerItem(Origin origin) = 0;
    /// True when the item is not enabled afterwards. One that was not is left alone.
    [[nodiscard]] virtual bool unregisterItem() = 0;

    /// On the XDG autostart entry. Never null.
    [[nodiscard]] static std::unique_ptr<LoginItem> create(const Program &program);
};

} // namespace Platform
