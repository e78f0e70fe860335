#pragma once

#include <QString>

#include <functional>
#include <memory>

class QWidget;

namespace Platform {

class UserDefaults;

enum class Permission { Microphone, SpeechRecognition };

/// Asks the user whether the program may listen. No desktop outside a sandbox does, so the program
/// does it itself; inside one the portal is asked for the microphone first, and the program itself
/// asks where the portal has no answer to give. A yes is remembered in the defaults, or by the
/// portal that heard it; a no is asked again by a later process, never by this one. Main thread
/// only.
class Permissions
{
public:
    using Answer = std::function<void(bool granted)>;

    virtual ~Permissions() = default;

    /// Whether the user would have to be asked, because no answer is remembered.
    [[nodiscard]] virtual bool asksFor(Permission permission) const = 0;
    /// Calls back with the answer, later, on a turn of the event loop; at most one question a
    /// permission is open at a time, and every caller gets its answer. When the window goes while
    /// its question is open the answer is false, once: the next caller has the user asked again.
    /// When this object goes, its questions go too and nobody is called.
    virtual void requestAccess(Permission permission, Answer answered) = 0;

    /// Questions appear as sheets on the window that `window` gives at that time, or freely when it
    /// gives none or a hidden one. The defaults must outlive the object. `sandboxMark` is the file
    /// that is there inside a sandbox only. Never null.
    [[nodiscard]] static std::unique_ptr<Permissions>
    createForDesktop(UserDefaults &defaults, std::function<QWidget *()> window,
                     const QString &sandboxMark = QStringLiteral("/.flatpak-info"));
};

} // namespace Platform
