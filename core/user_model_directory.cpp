// Where the user's model store lies by default.
#include "core/user_model_directory.h"

#include <cstdlib>

namespace velko::core {

std::string userModelDirectory() {
  const char* store = std::getenv("VELKO_MODEL_STORE");
  if (store != nullptr && *store != '\0') return store;
  const char* home = std::getenv("HOME");
  if (home != nullptr && *home != '\0') {
    return std::string(home) + "/Library/Application Support/VELKO/models";
  }
  return std::string();
}

}  // namespace velko::core
