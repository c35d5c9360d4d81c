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

// How the archive is written: by default deflated, and with names taken byte for byte and not
// flagged as UTF-8, as old archivers do.
struct ZipForm {
  bool utf8Names = false;  // non-ASCII names flagged as UTF-8 (general purpose bit 11)
  bool stored = false;     // no compression, so an entry's bytes stand in the file as they are
};

// Writes the entries, in order, as a zip archive to `file`, creating parent folders. Aborts the
// test run on failure.
void writeZip(const std::filesystem::path& file, const std::vector<ZipEntry>& entries,
              ZipForm form = {});

}  // namespace velko::test
