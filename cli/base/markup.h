// Text in HTML and XML.
#pragma once

#include <string>

namespace qva {

/// Text that stands for itself, in and out of quotes.
std::string EscapeMarkup(const std::string& text);

} // namespace qva
