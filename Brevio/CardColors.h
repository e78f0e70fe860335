#pragma once

#include "Platform/Screen/Appearance.h"

/// The colours of the cards, in both schemes: what every face of a card is drawn with. Any thread.
namespace Brevio::CardColors {

/// The paper of a card.
[[nodiscard]] const Platform::DynamicColor &cardCream();
/// What is written on it, and on the tiles.
[[nodiscard]] const Platform::DynamicColor &cardInk();
/// The paper of the grid's tiles.
[[nodiscard]] const Platform::DynamicColor &thumbFill();

} // namespace Brevio::CardColors
