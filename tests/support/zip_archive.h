// Zip archives for tests, written entry by entry, hostile names and links included.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace velko::test {

struct ZipEntry {
  enum class Kind { File, Folder, Link };
  std::string name;      // stored exactly as given: "../x" and "/abs" stay as they are
  std::string contents;  // a file's bytes, or a link's target
  Kind kind = Kind::File;
  unsigned mode = 0644;
};

ZipEntry zipFile(std::string name, std::string contents, unsigned mode = 0644);
ZipEntry zipFolder(std::string name, unsigned mode = 0755);
ZipEntry zipLink(std::string name, std::string target);

// Writes the entries, in order, as a zip archive to `file`, creating parent folders. Aborts the
// test run on failure.
void writeZip(const std::filesystem::path& file, const std::vector<ZipEntry>& entries);

}  // namespace velko::test
