// Names that stay inside one folder. The ".." test is a substring test on purpose: refusing "a..b"
// costs nothing and needs no path reasoning.
#include "core/safe_name.h"

namespace velko::core {

std::optional<SafeName> SafeName::from(std::string_view name) {
  if (name.empty() || name.front() == '.' ||
      name.find_first_of(std::string_view("/\\\0", 3)) != std::string_view::npos ||
      name.find("..") != std::string_view::npos) {
    return std::nullopt;
  }
  return SafeName(name);
}

}  // namespace velko::core
