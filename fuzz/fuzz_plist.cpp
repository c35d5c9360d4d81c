// libFuzzer target for the property-list seam: a string value out of arbitrary bytes, XML or
// binary. Besides crashes it traps on a value beyond the length limit, and on a value that does not
// come back the same from a property list libplist writes with it, in either form.
#include <plist/plist.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/fuzz_support.h"
#include "platform/platform.h"

namespace {

using velko::fuzz::require;

// The key the Photoshop discovery asks for.
const std::string kKey = "CFBundleShortVersionString";

// A dictionary holding `value` under kKey, in XML or binary form as libplist writes it.
std::string plistWith(const std::string& value, bool binary) {
  plist_t root = plist_new_dict();
  plist_dict_set_item(root, kKey.c_str(), plist_new_string(value.c_str()));
  char* bytes = nullptr;
  uint32_t length = 0;
  (binary ? plist_to_bin : plist_to_xml)(root, &bytes, &length);
  plist_free(root);
  require(bytes != nullptr, "libplist writes the dictionary");
  std::string text(bytes, length);
  (binary ? plist_to_bin_free : plist_to_xml_free)(bytes);
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const std::optional<std::string> value = velko::platform::propertyListString(bytes, kKey);
  if (!value) return 0;
  require(value->size() <= 127, "value within the length limit");
  // libplist builds strings from C strings, so a value with a NUL byte cannot be written back.
  if (value->find('\0') != std::string::npos) return 0;
  for (const bool binary : {false, true}) {
    require(velko::platform::propertyListString(plistWith(*value, binary), kKey) == value,
            binary ? "binary round trip" : "XML round trip");
  }
  return 0;
}
