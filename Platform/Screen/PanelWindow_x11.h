#pragma once

#include "Platform/Screen/PanelWindow.h"

namespace Platform {

[[nodiscard]] std::unique_ptr<PanelWindow> createPanelWindowOnX11(QWidget &window,
                                                                  double cornerRadius);

} // namespace Platform
