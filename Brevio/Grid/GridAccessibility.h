#pragma once

namespace Brevio {

class GridContentView;

/// Shows the grid to assistive technology as a list with one item a tile. The items are made only
/// when they are asked for, so that a thousand notes cost nothing. Main thread only.
namespace GridAccessibility {

/// Once is enough; more often is harmless.
void install();
/// Tiles came, went or read differently: items handed out before mean nothing any more.
void tilesChanged(GridContentView *grid);
/// The keyboard's ring moved to the tile.
void tileFocused(GridContentView *grid, int tile);

} // namespace GridAccessibility

} // namespace Brevio
