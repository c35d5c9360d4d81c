// The title of a listed model in one language.
#pragma once

#include <string>

#include "models/model_list.h"

namespace velko::models {

// `title_en` in English and `title_de` in German, each falling back to the other language's title
// when empty. Empty when both are.
std::string entryTitle(const ModelEntry& entry, bool english);

}  // namespace velko::models
