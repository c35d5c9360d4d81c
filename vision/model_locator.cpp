// Finds a model package by name in the places a model can lie: store, application, developer tree.
#include "vision/model_locator.h"

#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "core/user_model_directory.h"
#include "platform/platform.h"

namespace velko::vision {
namespace {
namespace fs = std::filesystem;

constexpr std::string_view kCompiled = ".mlmodelc";
constexpr std::string_view kPackage = ".mlpackage";

std::string nonEmptyEnv(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

// A hit is a folder, or a link to one; a plain file of the name does not count.
bool findAt(const fs::path& folder, const std::string& baseName, const char* source,
            ModelSearchResult& result) {
  for (const std::string_view extension : {kCompiled, kPackage}) {
    const fs::path candidate = folder / (baseName + std::string(extension));
    std::error_code ec;
    if (fs::is_directory(candidate, ec)) {
      result.path = candidate.string();
      result.source = source;
      return true;
    }
  }
  return false;
}

std::string baseNameOf(const std::string& name) {
  for (const std::string_view extension : {kPackage, kCompiled}) {
    if (name.size() > extension.size() && name.ends_with(extension)) {
      return name.substr(0, name.size() - extension.size());
    }
  }
  return name;
}

}  // namespace

ModelSearchResult findModelPackage(const std::string& name) {
  const std::string base = baseNameOf(name);
  ModelSearchResult result;
  if (const std::string dir = nonEmptyEnv("VELKO_MODEL_DIR"); !dir.empty()) {
    if (findAt(dir, base, "VELKO_MODEL_DIR", result)) return result;
  }
  // Only the exact value "1" restricts the search to the two places above.
  const bool restricted = nonEmptyEnv("VELKO_MODEL_DIR_ONLY") == "1";
  if (const std::string store = core::userModelDirectory(); !store.empty()) {
    if (findAt(store, base, "store", result)) return result;
  }
  if (restricted) return result;

  if (const fs::path resources = platform::resourcePath(); !resources.empty()) {
    if (findAt(resources / "models", base, "bundle", result)) return result;
  }
  if (fs::path exe = platform::executablePath(); !exe.empty()) {
    std::error_code ec;
    if (fs::path resolved = fs::canonical(exe, ec); !ec) exe = std::move(resolved);
    const fs::path contents = exe.parent_path().parent_path();
    if (findAt(contents / "Resources" / "models", base, "bundle", result)) return result;
  }
  if (findAt("/Users/devhost/dev/VELKO/models", base, "dev", result)) return result;
  if (const std::string home = nonEmptyEnv("HOME"); !home.empty()) {
    const fs::path folder = fs::path(home) / "Library" / "Application Support" / "Solstice Velko";
    if (findAt(folder / "models", base, "application-support", result)) return result;
  }
  findAt("/Applications/Velko.app/Contents/Resources/models", base, "installed-app", result);
  return result;
}

}  // namespace velko::vision
