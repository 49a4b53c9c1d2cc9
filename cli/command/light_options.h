// Options about the light that is handed to the library.
#pragma once

#include "light/light_plan.h"

#include <CLI/CLI.hpp>

namespace qva {

void AddLightOptions(CLI::App& app, LightOptions& light);

} // namespace qva
