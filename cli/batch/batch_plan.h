// What a batch was asked for, kept beside its prints so that it can go on.
#pragma once

#include "batch/picture_list.h"

#include <string>
#include <vector>

namespace qva {

struct BatchPlan {
    std::vector<std::string> photos; ///< all of them, in their order
    NamePatterns names;              ///< the folder is that of the plan
    std::vector<std::string> words;  ///< options of every print
};

/// Makes names of files absolute, so that the batch can go on from another folder.
void Save(const BatchPlan& plan, const std::string& path);

/// @throws Failure where there is no plan.
BatchPlan LoadPlan(const std::string& path);

} // namespace qva
