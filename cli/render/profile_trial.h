// Whether the library can render for a profile: found out on a few pixels.
#pragma once

#include "render/renderer.h"

#include <string>

namespace qva {

/// Renders a few pixels for a profile as the picture will be rendered. Where the colour matcher
/// refuses a profile the library prints without its device step, and says nothing.
/// The built-in one is not tried.
/// @param settings  intent and black-point compensation decide which tables of a profile are used.
/// @param name      of the profile, for messages.
/// @throws Failure where the device step would be left out, but for displays and colour spaces
///         that reproduce black: their prints have none.
void TryProfile(const PrinterProfile& profile, const RenderSettings& settings,
                const std::string& name);

} // namespace qva
