// The crash suites' shared parts: the loop of random SIGKILLs and checks, and folder trees.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/test_support.h"

namespace velko::test {

struct CampaignCommand {
  std::vector<std::string> argv;
  std::map<std::string, std::optional<std::string>> env{};
};

using FolderCheck = std::function<void(const std::filesystem::path& folder)>;

// `command`, `afterKill` and `atEnd` are needed; the other callbacks may stay empty.
struct CampaignSetup {
  std::filesystem::path templ;  // the world each run starts from, copied next to it for each run
  int runs = 0;
  std::function<CampaignCommand(const std::filesystem::path& folder)> command{};
  // Makes, before the child of run `run` starts, its readiness condition; empty for none.
  std::function<std::function<bool()>(int run)> ready{};
  FolderCheck afterKill{};               // what a kill may leave
  FolderCheck atEnd{};                   // after each run to the end, the reference's too
  std::function<std::string()> facts{};  // appended to the summary line
  // The copy the undisturbed reference run worked in; it stays for the checks.
  std::filesystem::path reference() const { return templ.parent_path() / "reference"; }
};

// Runs the command to its end in a copy of the template (the reference) and checks that, then
// `runs` times: copies the template, starts the command, kills it, checks, runs it again to its
// end, checks, removes the copy. Each run to the end gives the span for the next kill: taking it
// anew keeps the kills reaching the late steps when the machine is busy. A kill comes at a random
// time of up to a third more than the span. With a readiness condition the wait begins only once
// it holds (polled every millisecond) and is shortened by the time that took, so the kills aim at
// the steps after that point. Prints a summary: the test, runs, kills that ended the child, facts,
// the last span. On failure: a run to the end whose exit code is not 0 fails the test; a fatal
// failure ends the campaign there, without summary; other failures let the runs go on.
void runKillCampaign(const CampaignSetup& setup);

// Folders d0, d1, ... each with files f0.bin, f1.bin, ... of `bytes` random bytes from `seed`:
// incompressible, so a zip of them is as large as they are.
Tree randomTree(int folders, int files, std::size_t bytes, unsigned seed);
// Writes `tree` below `folder`. Throws std::filesystem::filesystem_error when a folder cannot be
// made, and aborts the test run when a file cannot be written.
void writeTree(const std::filesystem::path& folder, const Tree& tree);

}  // namespace velko::test
