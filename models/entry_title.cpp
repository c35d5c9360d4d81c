// A model's title with the other language as fallback, for rows and messages alike.
#include "models/entry_title.h"

namespace velko::models {

std::string entryTitle(const ModelEntry& entry, bool english) {
  const std::string& wanted = english ? entry.title_en : entry.title_de;
  return wanted.empty() ? (english ? entry.title_de : entry.title_en) : wanted;
}

}  // namespace velko::models
