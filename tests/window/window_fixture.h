// The window suites' one world: scenarios in words (*.rows) played on a temp home and model server.
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
#include "tests/support/scenario_file.h"
#include "tests/support/test_support.h"
#include "window/controller.h"
#include "window/look.h"
#include "window/views.h"

namespace velko::test {
namespace fs = std::filesystem;

using Probe = std::tuple<std::string, int, int, QColor>;  // a colour at x, y, within 3 a channel

// A situation of the window as words, run in order (see the actions below): the scene's words
// come before the launch, the first of the window's launches it in-process, and any other word
// presses the button of that name. At the end the header, `de` or `en` (unchecked when empty; '*'
// stands for any run of characters) and a confirmation's question must be the texts, and the
// picture must show the `probes` (a negative x counts from the models rows' status column).
struct Row {
  std::string where, name, words, de, en, only;  // where: file:line; only: where the row holds
  std::vector<Probe> probes;
};

// Reads a *.rows file (tests/support/scenario_file.h): before the first row `colour NAME R G B`
// lines name the probes' colours; each row `== NAME` has at most one each of `words ...`, `de
// TEXT`, `en TEXT` ("\n" is a line break) and `only linux` or `only development-key`, and any
// `probe X Y COLOUR WHAT`. Any other line fails, as does no row at all.
inline std::vector<Row> readRows(const std::string& file) {
  std::map<std::string, QColor> colours;
  std::vector<Row> rows;
  for (const test::Scenario& block : readScenarioFile(VELKO_WINDOW_ROWS "/" + file)) {
    Row s;
    s.where = file + ":" + std::to_string(block.number);
    s.name = block.title;
    for (const ScenarioLine& l : block.lines) {
      const std::string& v = l.verb;
      std::string* const field = v == "words"  ? &s.words
                                 : v == "de"   ? &s.de
                                 : v == "en"   ? &s.en
                                 : v == "only" ? &s.only
                                               : nullptr;
      std::istringstream in(l.rest);
      std::string name, what;
      int x = 0, y = 0, r = 0, g = 0, b = 0;
      if (field != nullptr && !s.name.empty() && field->empty() &&
          (v != "only" || l.rest == "linux" || l.rest == "development-key")) {
        *field = std::regex_replace(l.rest, std::regex(R"(\\n)"), "\n");
      } else if (v == "colour" && s.name.empty() && in >> name >> r >> g >> b) {
        colours[name] = QColor(r, g, b);
      } else if (v == "probe" && in >> x >> y >> name && colours.count(name) &&
                 std::getline(in >> std::ws, what)) {
        s.probes.emplace_back(what, x, y, colours[name]);
      } else {
        ADD_FAILURE() << file << ":" << l.number << ": a line the rows format does not take: " << v
                      << " " << l.rest;
        return {};
      }
    }
    if (!s.name.empty()) rows.push_back(s);
  }
  EXPECT_FALSE(rows.empty()) << VELKO_WINDOW_ROWS "/" << file << " is missing or has no row";
  return rows;
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

struct Opened : QTextBrowser {  // keeps the URL that its slot setSource receives, and does no more
  void doSetSource(const QUrl& name, QTextDocument::ResourceType) override { url = name; }
  QUrl url;
};

inline void play(const Row& s, bool english) {
  SCOPED_TRACE(s.where + " " + s.name + (english ? " (en)" : " (de)"));
  // The layers below speak the window's language, as the program sets them.
  plugin_export::setMessageLanguage(english ? "en" : "de");
  core::setMessageLocale(english ? core::MessageLocale::English : core::MessageLocale::German);
  const TempDir home;
  const IsolatedHome isolated(home.path());
  const fs::path models = home / "models", uxp = home / "uxp", pkg = home / "pkg";
  const ScopedEnv env({{"VELKO_MODEL_STORE", std::nullopt}, {"VELKO_MODEL_DIR", home / "outside"}});
  writeSamplePlugin(pkg, "com.example.sample", "1.2.0");
  ModelServer server;
  std::unique_ptr<FakeProcess> photoshop;
  window::ControllerOptions o;
  o.package = installer::readPluginPackage(pkg);
  o.uxpBaseDir = uxp;
  o.english = english;
  o.modelStoreOptions.modelDir = models;
  o.modelStoreOptions.listUrl = "http://127.0.0.1:9/models.json";
  std::vector<std::string> cli = {
      VELKO_INSTALLER_EXE, "--plugin", pkg, "--uxp-base-dir", uxp, "--lang", english ? "en" : "de"};
  std::map<std::string, std::optional<std::string>> shotEnv = {{"QT_QPA_PLATFORM", "offscreen"}};
  bool closed = false, shot = false, external = false;
  QImage image;
  std::string word, arg, asked, choice, output;
  QTimer poll;  // answers a confirmation with `choice` once it is up, after reading its question
  QObject::connect(&poll, &QTimer::timeout, [&] {
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    if (box == nullptr) return;
    asked = "|" + (box->text() + "|" + box->informativeText()).toStdString();
    for (QAbstractButton* b : box->buttons())
      if (b->text().toStdString() == choice) b->click();
  });
  poll.start(10);
  std::optional<window::KVController> c;
  const auto w = [&]() -> window::KVController& {
    if (!c) c.emplace(o).launch();
    return *c;
  };
  const auto button = [&](const std::string& name) {
    return w().window()->findChild<window::KVButton*>(QString::fromStdString(name));
  };
  // Runs the event loop until `done` holds; the limit only keeps a broken build from hanging.
  const auto wait = [&](const std::function<bool()>& done) {
    for (QDeadlineTimer limit(60000); !done() && !limit.hasExpired();)
      QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 20);
    EXPECT_TRUE(done()) << word;
  };
  const auto option = [&](std::initializer_list<std::string> more) { cli.insert(cli.end(), more); };
  const auto route = [&](HttpMode mode, size_t count) {
    server.http.route("/m/" + arg, {mode, std::string(1000, 'x'), count, 404});
  };
  // A pointer that comes to rest over a button sends an enter event; only a move lights it up.
  const auto pointer = [&](bool move) {
    window::KVButton* b = button(arg);
    const QPointF at = QRectF(b->rect()).center(), global = b->mapToGlobal(at);
    QEnterEvent enter(at, at, global);
    QMouseEvent moved(QEvent::MouseMove, at, global, Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(b, &enter);
    if (move) QApplication::sendEvent(b, &moved);
  };
  const fs::path fonts = "/usr/share/fonts/truetype";
  // clang-format off
  const std::map<std::string, std::function<void()>> actions = {
    // The scene: ps:V a Photoshop bundle of version V, had:V the plug-in V installed before.
    {"ps", [&] { writeFile(home / "Applications" / ("Adobe Photoshop " + std::string(arg < "24" ?
                           "2022" : "2025") + ".app/Contents/Info.plist"), xmlPlist("<dict><key>"
                           "CFBundleShortVersionString</key><string>" + arg + "</string></dict>"));
                }},
    {"had", [&] { writeSamplePlugin(home / arg, "com.example.sample", arg);
                  installer::install(*installer::readPluginPackage(home / arg), uxp); }},
    {"running", [&] { photoshop = std::make_unique<FakeProcess>(home.path(), "Photoshop"); }},
    {"assumed", [&] { o.assumeRunning = true; }},  // Photoshop taken as running, by the option
    {"auto", [&] { o.autoAction = arg; option({"--auto", arg}); }},
    {"on-models", [&] { o.openModels = true; option({"--models"}); }},  // the launch on models
    {"blocked", [&] { writeFile(home / "blocker", "");  // a UXP folder that cannot be made
                      o.uxpBaseDir = home / "blocker/uxp";
                      option({"--uxp-base-dir", o.uxpBaseDir}); }},
    {"broken", [&] { writeFile(uxp / "PluginsInfo/v1/PS.json", "{"); }},
    {"no-package", [&] { o.package.reset(); option({"--plugin", uxp}); }},
    // Eight models of 1000 "x" on the server: "mis" missing, "part" partly downloaded, "inst"
    // installed, "upd" installed with an update, "bun" bundled, "new" too new for the application,
    // "nolic" missing and without a licence, "eight" missing. Without them the list's port is
    // closed and refuses at once.
    {"served", [&] {
      const std::string x(1000, 'x');
      nlohmann::json tooNew = fileModel("new", x), noLicense = fileModel("nolic", x);
      tooNew["min_velko"] = "9.0";
      noLicense["license"] = "";
      server.publish({fileModel("mis", x), fileModel("part", x), fileModel("inst", x),
                      fileModel("upd", x), coremlModel("bun", x), tooNew, noLicense,
                      fileModel("eight", x)}, std::vector<std::string>(8, x));
      writeFile(models / "inst.bin", x);
      writeFile(models / ".installed/inst.json",
                R"({"sha256":")" + sha256Hex(x) + R"(","version":""})");
      writeFile(models / "upd.bin", "old");
      writeFile(models / ".installed/upd.json", R"({"sha256":"","version":""})");
      writeFile(models / ".downloads/part.bin.part", "12");
      fs::create_directories(home / "outside/bun.mlmodelc");
      o.modelStoreOptions.listUrl = server.listUrl();
      o.modelStoreOptions.publicKey = developmentPublicKey();
      shotEnv.insert({{"VELKO_MODEL_LIST_URL", server.listUrl()}, {"VELKO_MODEL_STORE", models}});
    }},
    // At any time: how the server sends the model file F, F deleted, F absent but its part kept.
    {"slow", [&] { route(HttpMode::Trickle, 100); }}, {"serve", [&] { route(HttpMode::Serve, 0); }},
    {"fail", [&] { route(HttpMode::Status, 0); }}, {"stuck", [&] { route(HttpMode::Trickle, 1); }},
    {"rm", [&] { fs::remove(models / arg); }},
    {"kept", [&] { EXPECT_FALSE(fs::exists(models / arg));
                   EXPECT_TRUE(fs::exists(models / ".downloads" / (arg + ".part"))); }},
    // The program on a real X server (Xvfb) through Qt's xcb platform instead of offscreen.
    {"xcb", [&] { cli.insert(cli.begin(), {"/usr/bin/xvfb-run", "-a", "-s",
                                           "-screen 0 1280x800x24"});
                  shotEnv["QT_QPA_PLATFORM"] = "xcb"; }},
    // Instead of the window in-process: shot:F the program's picture, screenshots/F-<lang>.png
    {"shot", [&] {
      const std::string path = VELKO_SCREENSHOT_DIR "/" + arg + (english ? "-en.png" : "-de.png");
      fs::create_directories(VELKO_SCREENSHOT_DIR);
      fs::remove(path);
      option({"--screenshot", path});
      const ProcessResult run = runProcess(cli, shotEnv);
      EXPECT_EQ(run.exitCode, 0) << run.err;
      image = QImage(QString::fromStdString(path));
      shot = external = true;
    }},
    // ... or fonts:L this program as the font chains' probe, their answers the texts: its
    // fontconfig sees DejaVu alone, its font folder the Lato faces of L ("face=name,...").
    {"fonts", [&] {
      for (const char* face : {"DejaVuSans.ttf", "DejaVuSans-Bold.ttf"})
        writeFile(home / "system" / face, *readFile(fonts / "dejavu" / face));
      std::string face;
      for (std::istringstream faces(arg); std::getline(faces, face, ',');)
        writeFile(home / "app" / face.substr(face.find('=') + 1),
                  *readFile(fonts / "lato" / face.substr(0, face.find('='))));
      writeFile(home / "fonts.conf", "<fontconfig><dir>" + (home / "system").string() +
                "</dir><cachedir>" + (home / "cache").string() + "</cachedir></fontconfig>");
      output = runProcess({fs::read_symlink("/proc/self/exe"), "--font-chain", home / "app"},
                          {{"FONTCONFIG_FILE", home / "fonts.conf"}}).out;
      external = true;
    }},
    // The window's: the folder button makes the model folder and hands it to the file manager.
    {"finder", [&] {
      Opened opened;  // takes the file manager's call in place of the desktop
      EXPECT_FALSE(fs::exists(models));
      QDesktopServices::setUrlHandler("file", &opened, "setSource");
      button("secondary")->click();
      QDesktopServices::unsetUrlHandler("file");
      EXPECT_TRUE(fs::is_directory(models));
      EXPECT_EQ(opened.url.toLocalFile().toStdString(), models);
    }},
    {"tick", [&] { w().tick(); }}, {"closed", [&] { closed = true; }},  // else it ends shown
    {"reap", [&] { int status = 0;  // the quit request ended the fake Photoshop
                   wait([&] { return waitpid(photoshop->pid(), &status, WNOHANG) != 0; });
                   EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM) << status; }},
    // Waits for the list, the model work, a progress report, a report of bytes received.
    {"loaded", [&] { wait([&] { return !w().listLoading(); }); }},
    {"done", [&] { wait([&] { return !w().modelBusy(); }); }},
    {"progress", [&] { wait([&] { return texts(*w().window()).find(" / ") + 1 > 0; }); }},
    {"received", [&] { wait([&] { return std::regex_search(texts(*w().window()),
                                                           std::regex("[1-9]0* %")); }); }},
    {"scroll", [&] { w().window()->findChild<QScrollBar*>()->setValue(999); }},  // to the end
    {"yes", [&] { choice = english ? "Delete" : "Löschen"; }},  // answers to confirmations
    {"no", [&] { choice = english ? "Cancel" : "Abbrechen"; }},
    {"is", [&] { EXPECT_EQ((std::vector<std::string>{"idle", "waiting", "done", "missing",
                                                     "models"}.at(w().mode())), arg); }},
    {"v", [&] { EXPECT_EQ(installer::installedVersion("com.example.sample", uxp).value_or(""),
                          arg); }},  // PS.json's version; "v:" none
    {"enter", [&] { pointer(false); }}, {"move", [&] { pointer(true); }},  // the pointer on B
    {"down", [&] { button(arg)->setDown(true); }},
  };
  // clang-format on
  for (std::istringstream words(s.words); words >> word;) {
    const size_t colon = word.find(':');
    arg = colon == std::string::npos ? word : word.substr(colon + 1);
    const auto action = actions.find(word.substr(0, colon));
    if (action != actions.end()) {
      action->second();
    } else {  // clicks as the pointer does: a disabled button ignores it
      EXPECT_NE(button(word), nullptr) << "no button " << word;
      if (button(word) != nullptr) button(word)->click();
    }
  }
  // A shot's picture, the chains' answers, or else the window's texts and picture.
  std::string all = english ? s.en : s.de;
  if (!external) {
    QWidget& root = *w().window();
    EXPECT_EQ(root.isVisible(), !closed);
    EXPECT_EQ(root.height(), w().mode() == window::ModeModels ? 560 : 400);
    const bool product = w().mode() < window::ModePluginMissing;
    all = (product ? "SOLSTICE TOOLS|Sample Plugin|Version 1.2.0|" : "SOLSTICE TOOLS|") + all;
    output = texts(root) + asked;
    image = root.grab().toImage();
  }
  // As a regular expression in which every character but '*' stands for itself.
  const std::regex pattern(
      std::regex_replace(std::regex_replace(all, std::regex(R"([.^$|()\[\]{}+?\\])"), R"(\$&)"),
                         std::regex(R"(\*)"), ".*"));
  EXPECT_TRUE((english ? s.en : s.de).empty() || std::regex_match(output, pattern))
      << "  got: " << output << "\n want: " << all;
  EXPECT_TRUE(!shot || s.probes.empty() || image.size() == QSize(560, o.openModels ? 560 : 400));
  // In the models rows, the status column stands 10 beyond the measured detail text.
  const QString detail = english ? "1.0 KB  ·  MIT" : "1,0 KB  ·  MIT";
  const int column = 60 + static_cast<int>(std::ceil(
                              QFontMetricsF(window::regularFont(11.5)).horizontalAdvance(detail)));
  const auto off = [](int got, int want) { return std::abs(got - want) > 3; };
  for (const auto& [what, x, y, color] : s.probes) {
    const QColor got = image.pixelColor(x < 0 ? column - x : x, y);
    EXPECT_FALSE(off(got.red(), color.red()) || off(got.green(), color.green()) ||
                 off(got.blue(), color.blue()))
        << what << " at " << x << "," << y << ": " << got.name().toStdString();
  }
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

// Plays every row of a rows file in German, and in English too where it has English texts or
// probes; a row `only` for Linux or the development list key is played there alone.
inline void playAll(const std::string& file) {
  const std::vector<Row> rows = readRows(file);
  size_t played = 0;
  for (const Row& s : rows) {
    if ((s.only == "linux" && !onLinux()) ||
        (s.only == "development-key" && !VELKO_LIST_KEY_IS_DEVELOPMENT_KEY))
      continue;
    play(s, false), ++played;
    if (!s.en.empty() || !s.probes.empty()) play(s, true);
  }
  if (played == 0 && !rows.empty()) GTEST_SKIP() << "every row of " << file << " holds elsewhere";
}

}  // namespace velko::test
