// Where the user's model store lies by default.
#pragma once

#include <string>

namespace velko::core {

// VELKO_MODEL_STORE when set and not empty, else "$HOME/Library/Application Support/VELKO/models".
// Empty when neither variable is set.
std::string userModelDirectory();

}  // namespace velko::core
