// Eight models in every state a row can show, published on a test model server and laid out in a
// real model folder, for the models screen's tests and pictures.
#pragma once

#include <filesystem>

#include "tests/support/model_server.h"
#include "tests/support/test_support.h"

namespace velko::test {

// "mis" missing, "part" partly downloaded, "inst" installed, "upd" installed with an update, "bun"
// bundled (a copy in `outside`), "new" too new for the application, "nolic" missing and without a
// licence, "eight" missing; each 1000 bytes, in this order.
inline void publishMixedModels(ModelServer& server, const std::filesystem::path& models,
                               const std::filesystem::path& outside) {
  const std::string bytes(1000, 'x');
  nlohmann::json tooNew = fileModel("new", bytes);
  tooNew["min_velko"] = "9.0";
  nlohmann::json noLicense = fileModel("nolic", bytes);
  noLicense["license"] = "";
  server.publish({fileModel("mis", bytes), fileModel("part", bytes), fileModel("inst", bytes),
                  fileModel("upd", bytes), coremlModel("bun", bytes), tooNew, noLicense,
                  fileModel("eight", bytes)},
                 std::vector<std::string>(8, bytes));
  writeFile(models / "inst.bin", bytes);
  writeFile(models / ".installed" / "inst.json",
            R"({"sha256":")" + sha256Hex(bytes) + R"(","version":""})");
  writeFile(models / "upd.bin", "old");
  writeFile(models / ".installed" / "upd.json", R"({"sha256":"","version":""})");
  writeFile(models / ".downloads" / "part.bin.part", "12");
  std::filesystem::create_directories(outside / "bun.mlmodelc");
}

}  // namespace velko::test
