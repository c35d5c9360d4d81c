// The window suites' one world: a scene on disk, the model server, and scenarios played in words.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <QtWidgets>

#include <regex>
#include <sstream>

#include "core/message_language.h"
#include "installer/registered_version.h"
#include "plugin_export/message_language.h"
#include "tests/platform/plist_fixture.h"
#include "tests/support/model_server.h"
#include "tests/support/test_support.h"
#include "window/controller.h"
#include "window/look.h"
#include "window/views.h"

namespace velko::test {
namespace fs = std::filesystem;
using window::KVButton, window::KVController;

// A temp HOME with the package com.example.sample 1.2.0 in "pkg", the UXP folder, the model folder
// and, in "outside", where bundled models lie.
class Scene {
 public:
  Scene() { writeSamplePlugin(dir_ / "pkg", "com.example.sample", "1.2.0"); }
  fs::path uxp() const { return dir_ / "uxp"; }
  fs::path models() const { return dir_ / "models"; }
  // A UXP folder below a plain file: every install into it fails.
  fs::path blockedUxp() const {
    writeFile(dir_ / "blocker", "");
    return dir_ / "blocker/uxp";
  }
  // A Photoshop bundle in $HOME/Applications: "Adobe Photoshop 2022" before version 24, else 2025.
  void addPhotoshop(const std::string& v) const {
    writeFile(
        dir_ / "Applications" /
            ("Adobe Photoshop " + std::string(v < "24" ? "2022" : "2025") + ".app") /
            "Contents/Info.plist",
        xmlPlist("<dict><key>CFBundleShortVersionString</key><string>" + v + "</string></dict>"));
  }
  // Eight models of 1000 "x": "mis" missing, "part" partly downloaded, "inst" installed, "upd"
  // installed with an update, "bun" bundled, "new" too new for the application, "nolic" missing
  // and without a licence, "eight" missing.
  void publishMixedModels(ModelServer& server) const {
    const std::string x(1000, 'x');
    nlohmann::json tooNew = fileModel("new", x), noLicense = fileModel("nolic", x);
    tooNew["min_velko"] = "9.0";
    noLicense["license"] = "";
    server.publish(
        {fileModel("mis", x), fileModel("part", x), fileModel("inst", x), fileModel("upd", x),
         coremlModel("bun", x), tooNew, noLicense, fileModel("eight", x)},
        std::vector<std::string>(8, x));
    writeFile(models() / "inst.bin", x);
    writeFile(models() / ".installed/inst.json",
              R"({"sha256":")" + sha256Hex(x) + R"(","version":""})");
    writeFile(models() / "upd.bin", "old");
    writeFile(models() / ".installed/upd.json", R"({"sha256":"","version":""})");
    writeFile(models() / ".downloads/part.bin.part", "12");
    fs::create_directories(dir_ / "outside/bun.mlmodelc");
  }

  TempDir dir_;

 private:
  IsolatedHome home_{dir_.path()};
  ScopedEnv env_{
      {{"VELKO_MODEL_STORE", std::nullopt}, {"VELKO_MODEL_DIR", (dir_ / "outside").string()}}};
};

// A colour a picture must show at a place, within 3 per channel.
struct Probe {
  const char* what;
  int x, y;
  QColor color;
};

inline void expectProbes(const QImage& image, const std::vector<Probe>& probes) {
  for (const Probe& p : probes) {
    const QColor got = image.pixelColor(p.x, p.y);
    EXPECT_LE(
        std::max({std::abs(got.red() - p.color.red()), std::abs(got.green() - p.color.green()),
                  std::abs(got.blue() - p.color.blue())}),
        3)
        << p.what << " at " << p.x << "," << p.y << ": " << got.name().toStdString();
  }
}

// Every label and button below `root` in view tree order, joined by "|": a label in coral ends in
// " (coral)"; a button reads "[title]", then " (off)" when disabled and "{tool tip}" if it has one.
inline std::string texts(const QWidget& root) {
  std::string all;
  for (const QWidget* child : root.findChildren<QWidget*>()) {
    if (const auto* l = qobject_cast<const QLabel*>(child)) {
      all += "|" + l->text().toStdString() +
             (l->palette().color(QPalette::WindowText) == window::kCoral ? " (coral)" : "");
    } else if (const auto* b = qobject_cast<const QAbstractButton*>(child)) {
      all += "|[" + b->text().toStdString() + "]" + (b->isEnabled() ? "" : " (off)") +
             (b->toolTip().isEmpty() ? "" : "{" + b->toolTip().toStdString() + "}");
    }
  }
  return all.substr(1);
}

// A situation of the window as words, run in order. The scene before the launch: "ps:V" a
// Photoshop bundle of version V, "had:V" the plug-in V installed, "running" a process named
// Photoshop, "assumed" the option that takes Photoshop as running, "auto:W" the --auto word,
// "on-models" the launch on the models screen, "blocked" a UXP folder that cannot be made,
// "broken" an unreadable PS.json, "no-package", and the model server with "three" models (a, b, c
// of 1000, 2000 and 3000 bytes) or the "mixed" eight. At any time, the server sends a file F
// "slow:F" at 100 bytes a second, "stuck:F" at one, "fail:F" as an error or "serve:F" at once;
// "rm:F" deletes F from the model folder. The first other word launches the window: "tick",
// "reap" (the fake Photoshop ended by SIGTERM), "loaded", "done" and "progress" (wait for the
// list, the model work and a progress report), "scroll" (the list to its end), "yes"/"no" (the
// answer to confirmations), "is:S" (the screen is S), "v:V" (PS.json holds V; "v:" none), the
// pointer "enter:B", "move:B" and "down:B" on button B, "closed" (the window ends closed, else
// shown); any other word presses that button. At the end, the header's texts, `de` or `en` and a
// confirmation's question must match the window's texts (unchecked when empty; a '*' stands for
// any run of characters), the picture `probes` and `check`, if any, must hold.
struct Scenario {
  const char* name;
  const char* words;
  std::string de, en = {};
  std::vector<Probe> probes = {};
  std::function<void(KVController&, const Scene&)> check = nullptr;
};

inline void play(const Scenario& s, bool english) {
  SCOPED_TRACE(std::string(s.name) + (english ? " (en)" : " (de)"));
  // The layers below speak the window's language, as the program sets them.
  plugin_export::setMessageLanguage(english ? "en" : "de");
  core::setMessageLocale(english ? core::MessageLocale::English : core::MessageLocale::German);
  Scene scene;
  ModelServer server;
  std::unique_ptr<FakeProcess> photoshop;
  window::ControllerOptions o;
  o.package = installer::readPluginPackage(scene.dir_ / "pkg");
  o.uxpBaseDir = scene.uxp().string();
  o.english = english;
  o.modelStoreOptions.modelDir = scene.models().string();
  o.modelStoreOptions.listUrl = "http://127.0.0.1:9/models.json";  // a closed port refuses at once
  bool mixed = false, closed = false;
  std::string word, arg, asked, choice;
  QTimer poll;  // answers a confirmation with `choice` once it is up, after reading its question
  QObject::connect(&poll, &QTimer::timeout, [&] {
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    if (box != nullptr) asked = "|" + (box->text() + "|" + box->informativeText()).toStdString();
    for (QAbstractButton* b : box != nullptr ? box->buttons() : QList<QAbstractButton*>()) {
      if (b->text().toStdString() == choice) b->click();
    }
  });
  poll.start(10);
  std::optional<KVController> c;
  const auto w = [&]() -> KVController& {
    if (!c) c.emplace(o).launch();
    return *c;
  };
  const auto button = [&] {
    return w().window()->findChild<KVButton*>(QString::fromStdString(arg));
  };
  // Runs the event loop until `done` holds; the limit only keeps a broken build from hanging.
  const auto wait = [&](const std::function<bool()>& done) {
    QElapsedTimer clock;
    clock.start();
    while (!done() && clock.elapsed() < 60000)
      QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 20);
    EXPECT_TRUE(done()) << word;
  };
  const auto world = [&](bool isMixed) {
    mixed = isMixed;
    mixed ? scene.publishMixedModels(server) : server.publishThree();
    o.modelStoreOptions.listUrl = server.listUrl();
    o.modelStoreOptions.publicKey = developmentPublicKey();
  };
  // The file's bytes as published: "x"s in the mixed world, else 1000 of its letter per place in
  // the alphabet.
  const auto route = [&](HttpMode mode, size_t count) {
    const std::string bytes(mixed ? 1000 : 1000 * (arg[0] - 'a' + 1), mixed ? 'x' : arg[0]);
    server.http.route("/m/" + arg, {mode, bytes, count, 404});
  };
  // A pointer that comes to rest over a button sends an enter event; only a move lights it up.
  const auto pointer = [&](bool move) {
    KVButton* b = button();
    const QPointF at = QRectF(b->rect()).center();
    QEvent leave(QEvent::Leave);
    QEnterEvent enter(at, at, b->mapToGlobal(at));
    QMouseEvent moved(QEvent::MouseMove, at, b->mapToGlobal(at), Qt::NoButton, Qt::NoButton,
                      Qt::NoModifier);
    QApplication::sendEvent(b, &leave);
    QApplication::sendEvent(b, &enter);
    if (move) QApplication::sendEvent(b, &moved);
  };
  const auto reap = [&] {
    int status = 0;
    EXPECT_EQ(waitpid(photoshop->pid(), &status, 0), photoshop->pid());
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM) << status;
  };
  const std::vector<std::string> screens = {"idle", "waiting", "done", "missing", "models"};
  // clang-format off
  const std::map<std::string, std::function<void()>> actions = {
      {"ps", [&] { scene.addPhotoshop(arg); }},
      {"had", [&] { writeSamplePlugin(scene.dir_ / arg, "com.example.sample", arg);
                    installer::install(*installer::readPluginPackage(scene.dir_ / arg), scene.uxp()); }},
      {"running", [&] { photoshop = std::make_unique<FakeProcess>(scene.dir_.path(), "Photoshop"); }},
      {"assumed", [&] { o.assumeRunning = true; }},
      {"auto", [&] { o.autoAction = arg; }},
      {"on-models", [&] { o.openModels = true; }},
      {"blocked", [&] { o.uxpBaseDir = scene.blockedUxp().string(); }},
      {"broken", [&] { writeFile(scene.uxp() / "PluginsInfo/v1/PS.json", "{"); }},
      {"no-package", [&] { o.package.reset(); }},
      {"three", [&] { world(false); }},
      {"mixed", [&] { world(true); }},
      {"slow", [&] { route(HttpMode::Trickle, 100); }},
      {"stuck", [&] { route(HttpMode::Trickle, 1); }},
      {"fail", [&] { route(HttpMode::Status, 0); }},
      {"serve", [&] { route(HttpMode::Serve, 0); }},
      {"rm", [&] { fs::remove(scene.models() / arg); }},
      {"closed", [&] { closed = true; }},
      {"tick", [&] { w().tick(); }},
      {"reap", reap},
      {"loaded", [&] { wait([&] { return !w().listLoading(); }); }},
      {"done", [&] { wait([&] { return !w().modelBusy(); }); }},
      {"progress", [&] { wait([&] { return w().window()->findChild<QLabel*>("message")->text().contains(" / "); }); }},
      {"scroll", [&] { w().window()->findChild<QScrollArea*>()->verticalScrollBar()->setValue(1000); }},
      {"yes", [&] { choice = english ? "Delete" : "Löschen"; }},
      {"no", [&] { choice = english ? "Cancel" : "Abbrechen"; }},
      {"is", [&] { EXPECT_EQ(screens.at(w().mode()), arg); }},
      {"v", [&] { EXPECT_EQ(installer::installedVersion("com.example.sample", scene.uxp()).value_or(""), arg); }},
      {"enter", [&] { pointer(false); }},
      {"move", [&] { pointer(true); }},
      {"down", [&] { button()->setDown(true); }},
  };
  // clang-format on
  for (std::istringstream words(s.words); words >> word;) {
    const size_t colon = word.find(':');
    arg = colon == std::string::npos ? word : word.substr(colon + 1);
    const auto action = actions.find(word.substr(0, colon));
    if (action != actions.end()) {
      action->second();
      continue;
    }
    arg = word;
    EXPECT_NE(button(), nullptr) << "no button " << word;
    if (button() != nullptr) button()->click();  // as the pointer clicks: a disabled one ignores it
  }
  QWidget& root = *w().window();
  EXPECT_EQ(root.isVisible(), !closed);
  EXPECT_EQ(root.height(), w().mode() == window::ModeModels ? 560 : 400);
  const std::string& want = english ? s.en : s.de;
  const std::string all =
      (w().mode() < window::ModePluginMissing ? "SOLSTICE TOOLS|Sample Plugin|Version 1.2.0|"
                                              : "SOLSTICE TOOLS|") +
      want;
  // As a regular expression in which every character but '*' stands for itself.
  const std::regex pattern(
      std::regex_replace(std::regex_replace(all, std::regex(R"([.^$|()\[\]{}+?\\])"), R"(\$&)"),
                         std::regex(R"(\*)"), ".*"));
  if (!want.empty()) {
    EXPECT_TRUE(std::regex_match(texts(root) + asked, pattern))
        << "  got: " << texts(root) + asked << "\n want: " << all;
  }
  if (!s.probes.empty()) expectProbes(root.grab().toImage(), s.probes);
  if (s.check) s.check(w(), scene);
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

// Plays every scenario in German, and in English too where it has English texts.
inline void playAll(const std::vector<Scenario>& scenarios) {
  for (const Scenario& s : scenarios) {
    play(s, false);
    if (!s.en.empty()) play(s, true);
  }
}

}  // namespace velko::test
