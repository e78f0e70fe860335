#pragma once

#include <memory>

class QWidget;

namespace Platform {
class UpdaterController;
}

namespace Brevio {

/// The way to newer versions. The one instance is made when the user asks for a check for the
/// first time in a run and lives until the application object ends; a run without a check has
/// none. Main thread only.
class Updater final
{
public:
    /// Made on first access, which needs an application object.
    static Updater &shared();

    ~Updater();
    Updater(const Updater &) = delete;
    Updater &operator=(const Updater &) = delete;

    /// A check that the user asked for: all that comes of it is told in sheets on the window,
    /// free-standing for null. While one is going on that one is raised.
    void checkForUpdates(QWidget *window);

private:
    Updater();

    std::unique_ptr<Platform::UpdaterController> m_controller;
};

} // namespace Brevio
