#include "Brevio/App/Updater.h"

#include "Platform/Updates/UpdaterController.h"

#include <QCoreApplication>

namespace Brevio {

namespace {

Updater *instance = nullptr;

} // namespace

Updater &Updater::shared()
{
    if (!instance) {
        instance = new Updater;
        // Its dialogs and connections must not outlive the application object.
        qAddPostRoutine([] {
            delete instance;
            instance = nullptr;
        });
    }
    return *instance;
}

Updater::Updater()
    : m_controller(
          std::make_unique<Platform::UpdaterController>(Platform::UpdateConfiguration::builtIn()))
{}

Updater::~Updater() = default;

void Updater::checkForUpdates(QWidget *window)
{
    m_controller->checkForUpdates(window);
}

} // namespace Brevio
