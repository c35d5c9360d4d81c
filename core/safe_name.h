// The one gate through which a name from outside (the model list, the command line) becomes a
// path component: a SafeName can only be made from a name that stays inside one folder.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace velko::core {

class SafeName {
 public:
  // The name when joining it to a folder cannot leave that folder: not empty, no '/', '\\' or NUL,
  // not hidden (no leading '.'), and no ".." anywhere. Nothing for any other name.
  static std::optional<SafeName> from(std::string_view name);

  const std::string& text() const { return text_; }

 private:
  explicit SafeName(std::string_view text) : text_(text) {}
  std::string text_;
};

}  // namespace velko::core
