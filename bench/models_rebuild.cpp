// Times one rebuild of the models screen (rows read from a real model folder, every view made
// anew and painted) for lists of 10, 50 and 200 models, on the offscreen platform.
#include <QApplication>
#include <QElapsedTimer>

#include <cstdio>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

#include "models/sha256.h"
#include "tools/model_tool/ed25519_keys.h"
#include "window/controller.h"
#include "window/look.h"

namespace fs = std::filesystem;
using namespace velko;

namespace {

bool writeFile(const fs::path& path, const std::string& text) {
  fs::create_directories(path.parent_path());
  FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) return false;
  const bool ok = std::fwrite(text.data(), 1, text.size(), file) == text.size();
  return std::fclose(file) == 0 && ok;
}

std::string sha256Hex(const std::string& bytes) {
  models::Sha256 digest;
  digest.update(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
  return digest.hex();
}

// A signed list of `count` models kept in `folder` as a refresh would keep it; every third model
// is installed, every fifth partly downloaded. Returns the list's public key.
std::optional<model_tool::PublicKey> writeModelFolder(const fs::path& folder, int count) {
  const auto seed = model_tool::generateSeed().seed;
  if (!seed) return std::nullopt;
  nlohmann::json entries = nlohmann::json::array();
  for (int i = 0; i < count; ++i) {
    const std::string id = "model" + std::to_string(i);
    const std::string bytes(1000 + i, 'm');
    entries.push_back({{"id", id},
                       {"version", "1.0"},
                       {"title_de", "Modell " + std::to_string(i)},
                       {"title_en", "Model " + std::to_string(i)},
                       {"kind", "file"},
                       {"package", id + ".bin"},
                       {"file", id + ".bin"},
                       {"size", bytes.size()},
                       {"sha256", sha256Hex(bytes)},
                       {"license", "MIT"}});
    if (i % 3 == 0) {
      writeFile(folder / (id + ".bin"), bytes);
      writeFile(folder / ".installed" / (id + ".json"),
                nlohmann::json({{"sha256", sha256Hex(bytes)}, {"version", "1.0"}}).dump());
    } else if (i % 5 == 0) {
      writeFile(folder / ".downloads" / (id + ".bin.part"), bytes.substr(0, 100));
    }
  }
  const std::string list = nlohmann::json({{"format", 1}, {"models", entries}}).dump(2);
  if (!writeFile(folder / "models.json", list) ||
      !writeFile(folder / "models.json.sig", model_tool::signModelList(*seed, list))) {
    return std::nullopt;
  }
  return model_tool::publicKeyOf(*seed);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: models_rebuild <font folder> <work folder>\n");
    return 64;
  }
  qputenv("QT_QPA_PLATFORM", "offscreen");
  int qtArgc = 1;
  QApplication app(qtArgc, argv);
  window::registerFontFolder(argv[1]);
  for (const int count : {10, 50, 200}) {
    const fs::path folder = fs::path(argv[2]) / std::to_string(count);
    const auto key = writeModelFolder(folder, count);
    if (!key) return 1;
    window::ControllerOptions options;
    options.openModels = true;
    options.modelStoreOptions.modelDir = folder.string();
    options.modelStoreOptions.listUrl = "http://127.0.0.1:9/models.json";  // refused at once
    options.modelStoreOptions.publicKey = *key;
    window::KVController controller(options);
    controller.launch();
    while (controller.listLoading())
      QApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QApplication::processEvents();

    const int rounds = 50;
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < rounds; ++i) {
      controller.rebuild();
      QApplication::processEvents();  // frees the old views and paints the new ones
    }
    const double ms = timer.nsecsElapsed() / 1e6 / rounds;
    std::printf(
        "models screen, %3d models: one rebuild %.2f ms (%.3f ms per model)%s\n", count, ms,
        ms / count,
        count == 50 ? (ms < 16 ? "; goal below 16 ms: met" : "; goal below 16 ms: missed") : "");
  }
  return 0;
}
