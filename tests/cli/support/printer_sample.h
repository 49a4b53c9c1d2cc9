// A small profile of a printer with tables, and a damaged one.
#pragma once

#include <string>

namespace qva::samples {

/// An RGB printer on paper of L* 95 with a black of L* 10, as tables from and to Lab.
std::string PrinterSample();

} // namespace qva::samples
