// Measures how deep a property list nests without building it: tags for XML, the object table for
// the binary form.
#include "platform/property_list_nesting.h"

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace velko::platform {
namespace {

constexpr std::string_view kBinaryMagic = "bplist00";
constexpr size_t kTrailerSize = 32;

// Opening <array> and <dict> tags count one level deeper, their closing tags one level back.
bool xmlWithinLimit(std::string_view text) {
  int depth = 0;
  for (size_t at = text.find('<'); at != std::string_view::npos; at = text.find('<', at + 1)) {
    const size_t end = text.find('>', at);
    if (end == std::string_view::npos) break;
    std::string_view tag = text.substr(at + 1, end - at - 1);
    if (tag.empty() || tag.front() == '?' || tag.front() == '!' || tag.back() == '/') continue;
    const bool closing = tag.front() == '/';
    if (closing) tag.remove_prefix(1);
    tag = tag.substr(0, tag.find_first_of(" \t\r\n"));
    if (tag != "array" && tag != "dict") continue;
    if (closing) {
      if (depth > 0) --depth;
    } else if (++depth > kMaxPropertyListNesting) {
      return false;
    }
  }
  return true;
}

// The binary form as the trailer describes it: an offset table of `count` objects and references
// of `refSize` bytes between them.
struct BinaryList {
  std::string_view bytes;
  unsigned offsetSize = 0;
  unsigned refSize = 0;
  uint64_t count = 0;
  uint64_t top = 0;
  uint64_t tableAt = 0;
};

std::optional<uint64_t> bigEndian(std::string_view bytes, uint64_t at, unsigned size) {
  if (size == 0 || size > 8 || at > bytes.size() || bytes.size() - at < size) return std::nullopt;
  uint64_t value = 0;
  for (unsigned i = 0; i < size; ++i)
    value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
  return value;
}

std::optional<BinaryList> readTrailer(std::string_view bytes) {
  if (bytes.size() < kBinaryMagic.size() + kTrailerSize) return std::nullopt;
  const uint64_t trailer = bytes.size() - kTrailerSize;
  BinaryList list{bytes};
  list.offsetSize = static_cast<unsigned char>(bytes[trailer + 6]);
  list.refSize = static_cast<unsigned char>(bytes[trailer + 7]);
  const auto count = bigEndian(bytes, trailer + 8, 8);
  const auto top = bigEndian(bytes, trailer + 16, 8);
  const auto tableAt = bigEndian(bytes, trailer + 24, 8);
  if (!count || !top || !tableAt || list.offsetSize == 0 || list.offsetSize > 8 ||
      list.refSize == 0 || list.refSize > 8 || *top >= *count || *tableAt > trailer ||
      *count > (trailer - *tableAt) / list.offsetSize) {
    return std::nullopt;
  }
  list.count = *count;
  list.top = *top;
  list.tableAt = *tableAt;
  return list;
}

// The objects a container refers to; empty for anything else. Nothing when the object's bytes
// leave the data.
std::optional<std::vector<uint64_t>> children(const BinaryList& list, uint64_t object) {
  const auto offset =
      bigEndian(list.bytes, list.tableAt + object * list.offsetSize, list.offsetSize);
  if (!offset || *offset >= list.bytes.size()) return std::nullopt;
  const unsigned char marker = static_cast<unsigned char>(list.bytes[*offset]);
  const unsigned type = marker >> 4;
  // Arrays (0xA), ordered sets (0xB), sets (0xC) hold n references; dictionaries (0xD) 2n.
  if (type < 0xA || type > 0xD) return std::vector<uint64_t>{};
  uint64_t n = marker & 0x0F;
  uint64_t at = *offset + 1;
  if (n == 0x0F) {
    // The count follows as an integer object of 2^k bytes.
    if (at >= list.bytes.size()) return std::nullopt;
    const unsigned char intMarker = static_cast<unsigned char>(list.bytes[at]);
    if (intMarker >> 4 != 0x1 || (intMarker & 0x0F) > 3) return std::nullopt;
    const unsigned size = 1u << (intMarker & 0x0F);
    const auto extended = bigEndian(list.bytes, at + 1, size);
    if (!extended) return std::nullopt;
    n = *extended;
    at += 1 + size;
  }
  const uint64_t refs = type == 0xD ? 2 * n : n;
  if (n > list.bytes.size() || refs * list.refSize > list.bytes.size() - at) return std::nullopt;
  std::vector<uint64_t> result;
  result.reserve(refs);
  for (uint64_t i = 0; i < refs; ++i) {
    const auto ref = bigEndian(list.bytes, at + i * list.refSize, list.refSize);
    if (!ref || *ref >= list.count) return std::nullopt;
    result.push_back(*ref);
  }
  return result;
}

// Depth-first from the top object with an explicit stack, each object measured once, so shared
// objects cost nothing twice and a cycle is found rather than followed.
bool binaryWithinLimit(std::string_view bytes) {
  const auto list = readTrailer(bytes);
  if (!list) return false;
  enum : uint8_t { Unseen, Open, Done };
  std::vector<uint8_t> state(list->count, Unseen);
  std::vector<int> height(list->count, 0);
  struct Frame {
    uint64_t object;
    std::vector<uint64_t> children;
    size_t next = 0;
  };
  std::vector<Frame> stack;
  const auto enter = [&](uint64_t object) {
    auto refs = children(*list, object);
    if (!refs) return false;
    state[object] = Open;
    stack.push_back({object, std::move(*refs)});
    return stack.size() <= static_cast<size_t>(kMaxPropertyListNesting) + 1;
  };
  if (!enter(list->top)) return false;
  while (!stack.empty()) {
    Frame& frame = stack.back();
    if (frame.next == frame.children.size()) {
      state[frame.object] = Done;
      const int done = height[frame.object];
      stack.pop_back();
      if (!stack.empty()) {
        int& parent = height[stack.back().object];
        if (done + 1 > parent) parent = done + 1;
        if (stack.size() + static_cast<size_t>(parent) > kMaxPropertyListNesting + 1u) return false;
      }
      continue;
    }
    const uint64_t child = frame.children[frame.next++];
    if (state[child] == Open) return false;
    if (state[child] == Done) {
      int& own = height[frame.object];
      if (height[child] + 1 > own) own = height[child] + 1;
      if (stack.size() + static_cast<size_t>(own) > kMaxPropertyListNesting + 1u) return false;
      continue;
    }
    if (!enter(child)) return false;
  }
  return true;
}

}  // namespace

bool propertyListNestingWithinLimit(std::string_view bytes) {
  if (bytes.substr(0, kBinaryMagic.size()) == kBinaryMagic) return binaryWithinLimit(bytes);
  return xmlWithinLimit(bytes);
}

}  // namespace velko::platform
