// The subcommands of velko-model-tool. Each takes the arguments after its own name, writes results
// to stdout and failures to stderr, and returns the process exit code.
#pragma once

#include <string>
#include <vector>

namespace velko::model_tool {

constexpr int kExitOk = 0;
constexpr int kExitFailed = 1;  // the operation failed, or the list was refused
constexpr int kExitUsage = 64;  // wrong arguments: the caller then prints the usage text

// keygen <private-key-file>: writes a new PEM private key (mode 0600, never over an existing file)
// and prints the public key as 64 hex digits.
int keygenCommand(const std::vector<std::string>& args);

// entry <file> --id ID --kind coreml|file --package NAME [more fields]: prints one list entry with
// the file's size and SHA-256.
int entryCommand(const std::vector<std::string>& args);

// sign <private-key-file> <models.json>: writes <models.json>.sig, after checking that the
// installer would accept the list.
int signCommand(const std::vector<std::string>& args);

// verify <public-key> <models.json> [<sig>] [--list-url URL]: runs the installer's verification
// and prints the kept entries or the refusal.
int verifyCommand(const std::vector<std::string>& args);

}  // namespace velko::model_tool
