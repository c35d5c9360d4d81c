// The four subcommands of velko-model-tool: argument checks, file I/O and what they print.
#include "tools/model_tool/commands.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <system_error>

#include "models/model_list.h"
#include "platform/platform.h"
#include "tools/model_tool/ed25519_keys.h"
#include "tools/model_tool/model_entry.h"

namespace velko::model_tool {
namespace {

namespace fs = std::filesystem;

struct Arguments {
  std::vector<std::string> positional;
  std::map<std::string, std::string> options;  // "--name" -> value
  bool ok = true;
};

// Splits `args` into positional words and "--name value" pairs. Unknown, repeated or value-less
// options are reported on stderr and leave `ok` false.
Arguments parseArguments(const std::vector<std::string>& args, const std::set<std::string>& known) {
  Arguments parsed;
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i].rfind("--", 0) != 0) {
      parsed.positional.push_back(args[i]);
      continue;
    }
    const char* problem = nullptr;
    if (known.count(args[i]) == 0) {
      problem = "unknown option";
    } else if (i + 1 == args.size()) {
      problem = "missing value for";
    } else if (parsed.options.count(args[i]) != 0) {
      problem = "repeated option";
    }
    if (problem != nullptr) {
      std::fprintf(stderr, "velko-model-tool: %s %s\n", problem, args[i].c_str());
      parsed.ok = false;
      return parsed;
    }
    parsed.options[args[i]] = args[i + 1];
    ++i;
  }
  return parsed;
}

void reportFailure(const std::string& message) {
  std::fprintf(stderr, "velko-model-tool: %s\n", message.c_str());
}

int failed(const std::string& message) {
  reportFailure(message);
  return kExitFailed;
}

// The whole file as bytes, or nothing after telling stderr why.
std::optional<std::string> readWholeFile(const std::string& path) {
  std::error_code ec;
  const fs::file_status status = fs::status(path, ec);
  std::string problem;
  if (ec) {
    problem = ec.message();
  } else if (!fs::is_regular_file(status)) {
    problem = "not a file";
  } else {
    std::ifstream in(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (in.is_open() && !in.bad()) return text;
    problem = "cannot read";
  }
  reportFailure(path + ": " + problem);
  return std::nullopt;
}

std::optional<PrivateSeed> loadSeed(const std::string& path) {
  const std::optional<std::string> pem = readWholeFile(path);
  if (!pem) return std::nullopt;
  const SeedResult loaded = seedFromPem(*pem);
  if (!loaded.seed) reportFailure(path + ": not an Ed25519 private key: " + loaded.error);
  return loaded.seed;
}

std::string trimmed(const std::string& text) {
  const size_t begin = text.find_first_not_of(" \t\r\n");
  if (begin == std::string::npos) return std::string();
  return text.substr(begin, text.find_last_not_of(" \t\r\n") - begin + 1);
}

// The public key named on the command line: hex digits, or a file with hex digits, a PEM public
// key or a PEM private key.
std::optional<PublicKey> resolvePublicKey(const std::string& argument) {
  if (auto key = publicKeyFromHex(argument)) return key;
  const std::optional<std::string> text = readWholeFile(argument);
  if (!text) return std::nullopt;
  if (auto key = publicKeyFromHex(trimmed(*text))) return key;
  if (auto key = publicKeyFromPem(*text)) return key;
  const SeedResult privateKey = seedFromPem(*text);
  if (privateKey.seed) return publicKeyOf(*privateKey.seed);
  reportFailure(argument + ": no public key (64 hex digits or PEM)");
  return std::nullopt;
}

struct ListCheck {
  models::ListResult result;
  size_t total = 0;  // elements of the list's `models` array, kept or not
};

// The installer's verdict on a list. The installer itself stops on a non-numeric `format`; here
// that case becomes a refusal the vendor can read.
ListCheck checkList(const std::string& listText, const std::string& signature,
                    const PublicKey& publicKey, const std::string& listUrl) {
  ListCheck check;
  try {
    check.result = models::verifyModelList(listText, signature, publicKey, listUrl);
  } catch (const nlohmann::json::type_error&) {
    check.result.error = "field \"format\" is no number: the installer would stop on this list";
    return check;
  }
  if (check.result.ok) check.total = nlohmann::json::parse(listText).at("models").size();
  return check;
}

const char* kindWord(models::ModelKind kind) {
  return kind == models::ModelKind::CoreML ? "coreml" : "file";
}

// Writes through a temporary file and a rename, so an interrupted run leaves the old signature
// or the new one, never half of one. Empty on success, else the reason.
std::string replaceFile(const fs::path& file, const std::string& contents) {
  const fs::path temporary = file.string() + ".tmp";
  {
    std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
    out << contents;
    out.flush();
    if (!out) {
      std::error_code ignored;
      fs::remove(temporary, ignored);
      return temporary.string() + ": cannot write";
    }
  }
  std::error_code ec;
  fs::rename(temporary, file, ec);
  if (ec) {
    std::error_code ignored;
    fs::remove(temporary, ignored);
    return file.string() + ": " + ec.message();
  }
  return std::string();
}

std::optional<uint64_t> parseByteCount(const std::string& text) {
  if (text.empty() || text.size() > 20 ||
      text.find_first_not_of("0123456789") != std::string::npos) {
    return std::nullopt;
  }
  uint64_t value = 0;
  for (const char c : text) {
    const uint64_t digit = static_cast<uint64_t>(c - '0');
    if (value > (UINT64_MAX - digit) / 10) return std::nullopt;
    value = value * 10 + digit;
  }
  return value;
}

}  // namespace

int keygenCommand(const std::vector<std::string>& args) {
  const Arguments parsed = parseArguments(args, {});
  if (!parsed.ok || parsed.positional.size() != 1) return kExitUsage;
  const std::string& path = parsed.positional[0];

  const SeedResult generated = generateSeed();
  if (!generated.seed) return failed(generated.error);
  const std::string pem = pemFromSeed(*generated.seed);
  const std::optional<PublicKey> publicKey = publicKeyOf(*generated.seed);
  if (pem.empty() || !publicKey) return failed("cannot encode the new key");

  const platform::NewFileResult written =
      platform::writeNewFile(path, pem, {.ownerOnly = true, .durable = true});
  if (!written.error.empty()) {
    // Half a key is no key: take the partial file away rather than leave it to be trusted.
    std::error_code ignored;
    if (written.created) std::filesystem::remove(path, ignored);
    return failed(path + ": " + written.error);
  }
  // Only the public half goes to the terminal; the hex line alone on stdout suits scripts.
  std::printf("%s\n", toHex(publicKey->data(), publicKey->size()).c_str());
  std::fprintf(stderr, "private key written to %s (mode 0600); keep it off the build machines\n",
               path.c_str());
  return kExitOk;
}

int entryCommand(const std::vector<std::string>& args) {
  const Arguments parsed = parseArguments(
      args, {"--id", "--kind", "--package", "--version", "--title-de", "--title-en", "--license",
             "--license-url", "--source", "--min-velko", "--installed-size", "--file-url"});
  if (!parsed.ok || parsed.positional.size() != 1) return kExitUsage;
  for (const char* required : {"--id", "--kind", "--package"}) {
    if (parsed.options.count(required) == 0) {
      reportFailure(std::string("missing ") + required);
      return kExitUsage;
    }
  }
  const auto option = [&parsed](const char* name) {
    const auto it = parsed.options.find(name);
    return it == parsed.options.end() ? std::string() : it->second;
  };
  EntryOptions options;
  options.id = option("--id");
  options.kind = option("--kind");
  if (options.kind != "coreml" && options.kind != "file") {
    reportFailure("--kind must be coreml or file");
    return kExitUsage;
  }
  options.package = option("--package");
  options.version = option("--version");
  options.title_de = option("--title-de");
  options.title_en = option("--title-en");
  options.license = option("--license");
  options.license_url = option("--license-url");
  options.source = option("--source");
  options.min_velko = option("--min-velko");
  options.file = option("--file-url");
  if (parsed.options.count("--installed-size") != 0) {
    options.installed_size = parseByteCount(option("--installed-size"));
    if (!options.installed_size) {
      reportFailure("--installed-size must be a number of bytes");
      return kExitUsage;
    }
  }

  const EntryResult entry = buildEntry(parsed.positional[0], options);
  if (!entry.ok) return failed(entry.error);
  std::printf("%s\n", entry.json.c_str());
  return kExitOk;
}

int signCommand(const std::vector<std::string>& args) {
  const Arguments parsed = parseArguments(args, {});
  if (!parsed.ok || parsed.positional.size() != 2) return kExitUsage;
  const std::string& listPath = parsed.positional[1];

  const std::optional<PrivateSeed> seed = loadSeed(parsed.positional[0]);
  if (!seed) return kExitFailed;
  const std::optional<std::string> listText = readWholeFile(listPath);
  if (!listText) return kExitFailed;
  const std::optional<PublicKey> publicKey = publicKeyOf(*seed);
  const std::string signature = signModelList(*seed, *listText);
  if (!publicKey || signature.empty()) return failed("signing failed");

  // A list the installer refuses as a whole is not worth publishing.
  const ListCheck check = checkList(*listText, signature, *publicKey, "");
  if (!check.result.ok) {
    return failed(listPath + ": not signed: " + check.result.error);
  }
  const std::string signaturePath = listPath + ".sig";
  const std::string written = replaceFile(signaturePath, signature);
  if (!written.empty()) return failed(written);

  const size_t kept = check.result.list.models.size();
  std::printf("wrote %s\npublic key %s\nkept %zu of %zu entries\n", signaturePath.c_str(),
              toHex(publicKey->data(), publicKey->size()).c_str(), kept, check.total);
  if (kept != check.total) {
    std::fprintf(stderr,
                 "velko-model-tool: warning: the installer drops %zu of %zu entries of %s\n",
                 check.total - kept, check.total, listPath.c_str());
  }
  return kExitOk;
}

int verifyCommand(const std::vector<std::string>& args) {
  const Arguments parsed = parseArguments(args, {"--list-url"});
  if (!parsed.ok || parsed.positional.size() < 2 || parsed.positional.size() > 3) {
    return kExitUsage;
  }
  const std::string& listPath = parsed.positional[1];
  const std::string signaturePath =
      parsed.positional.size() == 3 ? parsed.positional[2] : listPath + ".sig";
  const auto listUrl = parsed.options.find("--list-url");

  const std::optional<PublicKey> publicKey = resolvePublicKey(parsed.positional[0]);
  if (!publicKey) return kExitFailed;
  const std::optional<std::string> listText = readWholeFile(listPath);
  if (!listText) return kExitFailed;
  const std::optional<std::string> signature = readWholeFile(signaturePath);
  if (!signature) return kExitFailed;

  const ListCheck check =
      checkList(*listText, *signature, *publicKey,
                listUrl == parsed.options.end() ? std::string() : listUrl->second);
  if (!check.result.ok) return failed("refused: " + check.result.error);

  const models::ModelList& list = check.result.list;
  std::printf("accepted: format %d, issued \"%s\", kept %zu of %zu entries\n", list.format,
              list.issued.c_str(), list.models.size(), check.total);
  for (const models::ModelEntry& entry : list.models) {
    std::printf("%s %s version=%s size=%llu sha256=%s url=%s\n", entry.id.c_str(),
                kindWord(entry.kind), entry.version.c_str(),
                static_cast<unsigned long long>(entry.size), entry.sha256.c_str(),
                entry.url.c_str());
  }
  return kExitOk;
}

}  // namespace velko::model_tool
