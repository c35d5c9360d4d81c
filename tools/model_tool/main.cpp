// velko-model-tool: the vendor's side of the model list (keys, entries, signing, verification).
#include <cstdio>
#include <string>
#include <vector>

#include "core/message_language.h"
#include "tools/model_tool/commands.h"

namespace {

constexpr char kUsage[] =
    "usage: velko-model-tool <command> ...\n"
    "\n"
    "  keygen <private-key-file>\n"
    "      Create an Ed25519 key pair. The private key is written as PEM with mode 0600 (an\n"
    "      existing file is never replaced); the public key is printed as 64 hex digits, the\n"
    "      value for -DVELKO_MODEL_LIST_PUBLIC_KEY.\n"
    "  entry <file> --id ID --kind coreml|file --package NAME\n"
    "        [--version V] [--title-de T] [--title-en T] [--license L] [--license-url U]\n"
    "        [--source S] [--min-velko V] [--installed-size BYTES] [--file-url URL]\n"
    "      Print the models.json entry for a download file, with its size and SHA-256.\n"
    "      --file-url defaults to the file's name, relative to the list.\n"
    "  sign <private-key-file> <models.json>\n"
    "      Write <models.json>.sig beside the list, if the installer would accept the list.\n"
    "  verify <public-key> <models.json> [<signature-file>] [--list-url URL]\n"
    "      Verify as the installer does and print the kept entries. <public-key> is 64 hex\n"
    "      digits or a file holding them, a PEM public key or a PEM private key.\n"
    "\n"
    "Exit codes: 0 success, 1 failure or refused list, 64 wrong arguments.\n";

}  // namespace

int main(int argc, char** argv) {
  using namespace velko::model_tool;
  // The installer's list messages come out in English, like the rest of this tool.
  velko::core::setMessageLocale(velko::core::MessageLocale::English);

  const std::vector<std::string> words(argv + 1, argv + argc);
  if (words.empty() || words[0] == "help" || words[0] == "--help" || words[0] == "-h") {
    std::fputs(kUsage, words.empty() ? stderr : stdout);
    return words.empty() ? kExitUsage : kExitOk;
  }
  const std::vector<std::string> args(words.begin() + 1, words.end());
  int code = kExitUsage;
  if (words[0] == "keygen") {
    code = keygenCommand(args);
  } else if (words[0] == "entry") {
    code = entryCommand(args);
  } else if (words[0] == "sign") {
    code = signCommand(args);
  } else if (words[0] == "verify") {
    code = verifyCommand(args);
  } else {
    std::fprintf(stderr, "velko-model-tool: unknown command \"%s\"\n", words[0].c_str());
  }
  if (code == kExitUsage) std::fputs(kUsage, stderr);
  return code;
}
