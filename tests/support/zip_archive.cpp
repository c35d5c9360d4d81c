// Zip archives for tests, written entry by entry with libarchive's writer.
#include "tests/support/zip_archive.h"

#include <archive.h>
#include <archive_entry.h>

#include <locale.h>

#include <cstdio>
#include <cstdlib>
#include <system_error>

namespace velko::test {
namespace {

[[noreturn]] void die(archive* writer, const std::string& what) {
  std::fprintf(stderr, "zip archive: %s: %s\n", what.c_str(), archive_error_string(writer));
  std::abort();
}

}  // namespace

ZipEntry zipFile(std::string name, std::string contents, unsigned mode) {
  return {std::move(name), std::move(contents), ZipEntry::Kind::File, mode};
}

ZipEntry zipFolder(std::string name, unsigned mode) {
  return {std::move(name), "", ZipEntry::Kind::Folder, mode};
}

ZipEntry zipLink(std::string name, std::string target) {
  return {std::move(name), std::move(target), ZipEntry::Kind::Link, 0777};
}

void writeZip(const std::filesystem::path& file, const std::vector<ZipEntry>& entries,
              ZipForm form) {
  std::error_code ec;
  std::filesystem::create_directories(file.parent_path(), ec);
  // libarchive flags non-ASCII names as UTF-8 when it writes in a UTF-8 locale.
  const locale_t utf8 =
      form.utf8Names ? newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t{}) : locale_t{};
  const locale_t previous = utf8 != locale_t{} ? uselocale(utf8) : locale_t{};
  archive* writer = archive_write_new();
  archive_write_set_format_zip(writer);
  if (form.stored && archive_write_set_options(writer, "zip:compression=store") != ARCHIVE_OK) {
    die(writer, "store");
  }
  if (archive_write_open_filename(writer, file.c_str()) != ARCHIVE_OK) die(writer, file.string());
  for (const ZipEntry& e : entries) {
    archive_entry* entry = archive_entry_new();
    archive_entry_set_pathname(entry, e.name.c_str());
    archive_entry_set_perm(entry, e.mode);
    switch (e.kind) {
      case ZipEntry::Kind::File:
        archive_entry_set_filetype(entry, AE_IFREG);
        archive_entry_set_size(entry, static_cast<la_int64_t>(e.contents.size()));
        break;
      case ZipEntry::Kind::Folder:
        archive_entry_set_filetype(entry, AE_IFDIR);
        break;
      case ZipEntry::Kind::Link:
        archive_entry_set_filetype(entry, AE_IFLNK);
        archive_entry_set_symlink(entry, e.contents.c_str());
        break;
    }
    if (archive_write_header(writer, entry) != ARCHIVE_OK) die(writer, e.name);
    if (e.kind == ZipEntry::Kind::File &&
        archive_write_data(writer, e.contents.data(), e.contents.size()) !=
            static_cast<la_ssize_t>(e.contents.size())) {
      die(writer, e.name);
    }
    archive_entry_free(entry);
  }
  if (archive_write_close(writer) != ARCHIVE_OK) die(writer, "close");
  archive_write_free(writer);
  if (utf8 != locale_t{}) {
    uselocale(previous);
    freelocale(utf8);
  }
}

}  // namespace velko::test
