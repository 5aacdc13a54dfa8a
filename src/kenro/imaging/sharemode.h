#pragma once

namespace Kenro {

/**
 * What a store of images or palettes does when an equal one is already
 * there: always make a new one, reuse the equal one without asking, or let
 * the engine's extension ask the user.
 */
enum ShareMode { NoShare = 0, Share = 1, AskToShare = 2 };

} // namespace Kenro
