// The models screen in-process against the loopback model server and a real model folder: rows,
// summary and buttons, downloads on worker threads with throttled progress, cancel and resume, the
// batch, leaving during work, the confirmed removal, the folder, and the list's scroll place.
#include <QApplication>
#include <QDesktopServices>
#include <QElapsedTimer>
#include <QMessageBox>
#include <QScrollBar>
#include <QTimer>
#include <QUrl>

#include <algorithm>
#include <chrono>
#include <functional>

#include "tests/window/mixed_models.h"
#include "tests/window/window_fixture.h"
#include "window/look.h"

namespace velko::test {
namespace {

using Texts = std::vector<std::string>;

// Receives the file manager's calls in place of the desktop.
class UrlCatcher : public QObject {
  Q_OBJECT
 public:
  std::vector<QUrl> urls;
 public slots:
  void open(const QUrl& url) { urls.push_back(url); }
};

// Counts what reaches an object: queued calls and added children.
class EventCounter : public QObject {
 public:
  EventCounter(QObject* watched, QEvent::Type type) : type_(type) {
    watched->installEventFilter(this);
  }
  int count = 0;

 protected:
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() == type_) ++count;
    return false;
  }

 private:
  QEvent::Type type_;
};

// Runs the event loop until `done` holds; the limit only keeps a broken build from hanging.
bool waitUntil(const std::function<bool()>& done) {
  QElapsedTimer clock;
  clock.start();
  while (!done() && clock.elapsed() < 60000) {
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 20);
  }
  return done();
}

// The middle of a small view painted alone over the card colour.
QColor onCard(QWidget* view) {
  QImage image(view->size(), QImage::Format_RGB32);
  image.fill(QColor(38, 50, 62));
  view->render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
  return image.pixelColor(view->width() / 2, view->height() / 2);
}

bool contains(const Texts& texts, const Texts& run) {
  return std::search(texts.begin(), texts.end(), run.begin(), run.end()) != texts.end();
}

class ModelsScreen : public ::testing::Test {
 protected:
  ModelsScreen()
      : env_({{"VELKO_MODEL_STORE", std::nullopt},
              {"VELKO_MODEL_DIR", (scene_.dir_ / "outside").string()}}) {}

  fs::path models() const { return scene_.dir_ / "models"; }

  window::ControllerOptions options(bool english = false) const {
    window::ControllerOptions options = scene_.options(english);
    options.modelStoreOptions.modelDir = models().string();
    options.modelStoreOptions.listUrl = server_.listUrl();
    options.modelStoreOptions.publicKey = developmentPublicKey();
    return options;
  }

  // Models "a", "b", "c" of 1000, 2000 and 3000 bytes; "a" is served `aMode`, a trickle at
  // 250 bytes/s.
  void publishThree(HttpMode aMode = HttpMode::Serve) {
    server_.publishThree();
    server_.http.route("/m/a.bin", {aMode, std::string(1000, 'a'), 250});
  }

  static void openAndLoad(Window& window) {
    window.press("models");
    ASSERT_TRUE(waitUntil([&] { return !window.controller().listLoading(); }));
  }

  static window::KVButton* button(Window& window, const char* name) {
    return window.widget().findChild<window::KVButton*>(name);
  }

  static std::string message(Window& window) {
    return window.widget().findChild<QLabel*>("message")->text().toStdString();
  }
  static QColor messageColor(Window& window) {
    return window.widget().findChild<QLabel*>("message")->palette().color(QPalette::WindowText);
  }
  static std::string summary(Window& window) {
    return window.widget().findChild<QLabel*>("summary")->text().toStdString();
  }

  Scene scene_;
  ScopedEnv env_;
  ModelServer server_;
};

TEST_F(ModelsScreen, RowsShowStateDotAndButtonInBothLanguages) {
  publishMixedModels(server_, models(), scene_.dir_ / "outside");
  const QColor kDimOnCard(164, 168, 173);  // text at 0.62 over the card
  using window::kAccent, window::kAmber;
  const struct {
    const char* id;
    Texts de, en;            // status word and button as the row shows them after its detail
    const char* identifier;  // "" for no button
    QColor dot;
  } rows[] = {
      {"mis", {"Fehlt", "[Laden]"}, {"Missing", "[Download]"}, "fetch:mis", kDimOnCard},
      {"part", {"Unterbrochen", "[Fortsetzen]"}, {"Interrupted", "[Resume]"}, "fetch:part", kAmber},
      {"inst", {"Geladen", "[Löschen]"}, {"Downloaded", "[Delete]"}, "remove:inst", kAccent},
      {"upd",
       {"Update verfügbar", "[Aktualisieren]"},
       {"Update available", "[Update]"},
       "fetch:upd",
       kAmber},
      {"bun", {"Im Programm enthalten"}, {"Included with the app"}, "", kAccent},
      {"new", {"Braucht eine neuere Version"}, {"Needs a newer version"}, "", kAmber},
      {"nolic", {"Fehlt", "[Laden]"}, {"Missing", "[Download]"}, "fetch:nolic", kDimOnCard},
  };
  for (const bool english : {false, true}) {
    Window window(options(english));
    openAndLoad(window);
    const Texts texts = window.texts();
    const QImage picture = window.widget().grab().toImage();
    for (const auto& row : rows) {
      SCOPED_TRACE(std::string(row.id) + (english ? " en" : " de"));
      const std::string title = (english ? "Title " : "Titel ") + std::string(row.id);
      const std::string license = std::string(row.id) == "nolic" ? "–" : "MIT";
      Texts shown = {title, (english ? "1.0 KB  ·  " : "1,0 KB  ·  ") + license};
      for (const std::string& text : english ? row.en : row.de)
        shown.push_back(text);
      EXPECT_TRUE(contains(texts, shown)) << ::testing::PrintToString(texts);
      window::KVButton* b = button(window, row.identifier);
      EXPECT_EQ(b != nullptr, *row.identifier != '\0');
      if (b != nullptr) {
        EXPECT_EQ(b->toolTip().toStdString(), title);
      }
      QWidget* dot = window.widget().findChild<QWidget*>(QStringLiteral("dot:") + row.id);
      ASSERT_NE(dot, nullptr);
      // Rows below the fold are drawn by themselves; the others as the window shows them.
      const QPoint at = dot->mapTo(&window.widget(), QPoint(3, 3));
      const QColor got = at.y() < 148 + 296 ? picture.pixelColor(at) : onCard(dot);
      EXPECT_LE(std::abs(got.red() - row.dot.red()) + std::abs(got.green() - row.dot.green()) +
                    std::abs(got.blue() - row.dot.blue()),
                6)
          << got.name().toStdString();
    }
    // Installed and bundled count as downloaded; the pending sum is the missing, partial and
    // updated downloads.
    EXPECT_EQ(summary(window),
              english ? "3 of 8 downloaded · 1.0 KB used" : "3 von 8 geladen · 1,0 KB belegt");
    EXPECT_EQ(button(window, "primary")->text().toStdString(),
              english ? "Download all (5.0 KB)" : "Alle laden (5,0 KB)");
    EXPECT_EQ(message(window), english ? "Stored in: ~/models" : "Ablage: ~/models");
  }
}

TEST_F(ModelsScreen, SummaryMessageAndButtonsFollowTheListRefresh) {
  publishThree();
  Window window(options());
  window.press("models");
  // No saved list yet: the first opening waits for the server.
  EXPECT_EQ(summary(window), "Liste wird geladen …");
  EXPECT_TRUE(contains(window.texts(), {"Die Liste wird vom Solstice-Tools-Server geholt …"}));
  EXPECT_TRUE(contains(window.texts(), {"[Alle geladen] (off)"}));
  ASSERT_TRUE(waitUntil([&] { return !window.controller().listLoading(); }));
  EXPECT_EQ(summary(window), "0 von 3 geladen · 0,0 KB belegt");
  EXPECT_TRUE(contains(window.texts(), {"[Laden]", "Titel b"}));
  EXPECT_TRUE(button(window, "primary")->isEnabled());

  // Back and in again: the list in memory shows at once, with its buttons held while it refreshes.
  window.press("text");
  server_.http.route("/m/models.json", {HttpMode::Status, "", 0, 500});
  window.press("models");
  EXPECT_EQ(summary(window), "0 von 3 geladen · 0,0 KB belegt · Liste wird aktualisiert …");
  EXPECT_FALSE(button(window, "fetch:a")->isEnabled());
  EXPECT_FALSE(button(window, "primary")->isEnabled());
  EXPECT_TRUE(button(window, "text")->isEnabled());
  EXPECT_TRUE(button(window, "secondary")->isEnabled());
  ASSERT_TRUE(waitUntil([&] { return !window.controller().listLoading(); }));
  const std::string kLastList = " Angezeigt wird die zuletzt gespeicherte Liste.";
  const std::string refused = message(window);
  ASSERT_GT(refused.size(), kLastList.size());
  EXPECT_EQ(refused.substr(refused.size() - kLastList.size()), kLastList);
  EXPECT_EQ(messageColor(window), window::kCoral);
  EXPECT_TRUE(button(window, "fetch:a")->isEnabled());

  // A process with no saved list and a failing server: nothing to show, and the error says why.
  fs::remove_all(models());
  Window fresh(options());
  openAndLoad(fresh);
  EXPECT_EQ(summary(fresh), "Keine Modell-Liste verfügbar");
  EXPECT_TRUE(contains(fresh.texts(), {"Die Liste konnte nicht geladen werden. Prüfe die "
                                       "Internetverbindung und öffne den Bereich erneut."}));
  EXPECT_EQ(message(fresh), refused.substr(0, refused.size() - kLastList.size()));
  EXPECT_EQ(messageColor(fresh), window::kCoral);
}

TEST_F(ModelsScreen, DownloadShowsProgressCancelsAndResumes) {
  publishThree(HttpMode::Trickle);
  Window window(options());
  openAndLoad(window);
  window.press("fetch:a");
  ASSERT_TRUE(window.controller().modelBusy());
  EXPECT_TRUE(contains(window.texts(), {"startet …", "[Abbrechen]"}));
  EXPECT_EQ(message(window), "Lädt Titel a  ");
  ASSERT_TRUE(waitUntil([&] { return message(window).find(" / 1,0 KB") != std::string::npos; }));
  const Texts working = window.texts();
  EXPECT_TRUE(std::any_of(working.begin(), working.end(), [](const std::string& text) {
    return text.size() >= 3 && text.substr(text.size() - 2) == " %";
  })) << ::testing::PrintToString(working);
  // Only the running row can be pressed, and the primary button cancels.
  EXPECT_TRUE(button(window, "cancel")->isEnabled());
  EXPECT_FALSE(button(window, "fetch:b")->isEnabled());
  EXPECT_EQ(button(window, "primary")->text().toStdString(), "Abbrechen");
  EXPECT_TRUE(button(window, "primary")->isEnabled());

  window.press("cancel");
  ASSERT_TRUE(waitUntil([&] { return !window.controller().modelBusy(); }));
  EXPECT_EQ(message(window),
            "Abgebrochen. Der Teil-Download bleibt liegen und wird beim nächsten Mal fortgesetzt.");
  EXPECT_NE(messageColor(window), window::kCoral);
  const auto part = models() / ".downloads" / "a.bin.part";
  ASSERT_TRUE(fs::exists(part));
  const auto kept = fs::file_size(part);
  EXPECT_GT(kept, 0u);
  EXPECT_TRUE(contains(window.texts(), {"Unterbrochen", "[Fortsetzen]"}));

  server_.http.route("/m/a.bin", {HttpMode::Serve, std::string(1000, 'a')});
  window.press("fetch:a");
  ASSERT_TRUE(waitUntil([&] { return !window.controller().modelBusy(); }));
  EXPECT_TRUE(contains(window.texts(), {"Geladen", "[Löschen]"}));
  EXPECT_EQ(message(window), "Ablage: ~/models");
  const std::vector<RecordedRequest> requests = server_.http.requests();
  EXPECT_EQ(requests.back().path, "/m/a.bin");
  EXPECT_EQ(requests.back().range, "bytes=" + std::to_string(kept) + "-");
}

TEST_F(ModelsScreen, ProgressReportsAndRebuildsStayWithinTheirRates) {
  // 64 MB in four bursts a second apart: within a burst curl reports every few kilobytes.
  const std::string bytes(64'000'000, 'a');
  server_.publish({fileModel("a", bytes)}, {bytes});
  server_.http.route("/m/a.bin", {HttpMode::Trickle, bytes, 16'000'000});
  Window window(options());
  openAndLoad(window);
  EventCounter calls(&window.controller(), QEvent::MetaCall);
  EventCounter rebuilds(&window.widget(), QEvent::ChildAdded);
  const auto start = std::chrono::steady_clock::now();
  window.press("fetch:a");
  ASSERT_TRUE(waitUntil([&] { return !window.controller().modelBusy(); }));
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  EXPECT_TRUE(contains(window.texts(), {"Geladen"}));
  // Every queued call but the completion is a progress report; the last report always passes.
  const int reports = calls.count - 1;
  EXPECT_GE(reports, 3) << seconds << " s";
  EXPECT_LE(reports, seconds / 0.08 + 2) << seconds << " s";
  // Begin and end rebuild once each; progress at most ten times a second.
  EXPECT_LE(rebuilds.count, seconds / 0.1 + 1 + 2) << seconds << " s, " << reports << " reports";
}

TEST_F(ModelsScreen, BatchCountsModelsAndReportsTheFailure) {
  publishThree(HttpMode::Trickle);
  server_.http.route("/m/b.bin", {HttpMode::Status, "", 0, 404});
  Window window(options());
  openAndLoad(window);
  window.press("primary");
  ASSERT_TRUE(waitUntil([&] { return message(window).rfind("Modell 1 von 3: Titel a", 0) == 0; }));
  EXPECT_TRUE(button(window, "cancel")->isEnabled());
  ASSERT_TRUE(waitUntil([&] { return !window.controller().modelBusy(); }));
  EXPECT_EQ(message(window),
            "2 Modelle geladen, 1 fehlgeschlagen: Modell-Server antwortet mit HTTP 404.");
  EXPECT_EQ(messageColor(window), window::kCoral);
  EXPECT_EQ(summary(window), "2 von 3 geladen · 4,0 KB belegt");
}

TEST_F(ModelsScreen, LeavingDuringADownloadCancelsWithoutWaiting) {
  publishThree(HttpMode::Trickle);
  server_.http.route("/m/a.bin", {HttpMode::Trickle, std::string(1000, 'a'), 100});
  Window window(options());
  openAndLoad(window);
  window.press("fetch:a");
  window.press("text");
  EXPECT_EQ(window.controller().mode(), window::ModeIdle);
  EXPECT_TRUE(window.controller().modelCancelRequested());
  EXPECT_TRUE(window.controller().modelBusy()) << "the worker has not ended yet";

  // Back before the worker has wound down: no new refresh, the row still works, and the cancel
  // arrives as the worker ends.
  const size_t requestsBefore = server_.http.requests().size();
  window.press("models");
  EXPECT_FALSE(window.controller().listLoading());
  EXPECT_TRUE(contains(window.texts(), {"startet …", "[Abbrechen]"}));
  ASSERT_TRUE(waitUntil([&] { return !window.controller().modelBusy(); }));
  EXPECT_EQ(message(window),
            "Abgebrochen. Der Teil-Download bleibt liegen und wird beim nächsten Mal fortgesetzt.");
  for (size_t i = requestsBefore; i < server_.http.requests().size(); ++i) {
    EXPECT_NE(server_.http.requests()[i].path, "/m/models.json");
  }
}

TEST_F(ModelsScreen, RemovalAsksFirst) {
  publishThree();
  for (const char* id : {"b", "c"}) {
    const std::string bytes(id[0] == 'b' ? 2000 : 3000, id[0]);
    writeFile(models() / (std::string(id) + ".bin"), bytes);
    writeFile(models() / ".installed" / (std::string(id) + ".json"),
              R"({"sha256":")" + sha256Hex(bytes) + R"(","version":""})");
  }
  Window window(options());
  openAndLoad(window);
  // The confirmation is answered by pressing its real button once it is up.
  std::string asked;
  const auto answer = [&](const char* choice) {
    QTimer::singleShot(0, [&, choice] {
      QTimer* poll = new QTimer;
      QObject::connect(poll, &QTimer::timeout, [&, poll, choice] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (box == nullptr) return;
        asked = (box->text() + "|" + box->informativeText()).toStdString();
        for (QAbstractButton* b : box->buttons()) {
          if (b->text() == QString::fromUtf8(choice)) b->click();
        }
        poll->deleteLater();
      });
      poll->start(10);
    });
  };

  answer("Abbrechen");
  window.press("remove:b");
  EXPECT_EQ(asked,
            "„Titel b“ löschen?|Das Modell wird von diesem Mac entfernt. Du kannst es jederzeit "
            "wieder laden.");
  EXPECT_TRUE(fs::exists(models() / "b.bin"));
  EXPECT_TRUE(button(window, "remove:b") != nullptr);

  answer("Löschen");
  window.press("remove:b");
  EXPECT_FALSE(fs::exists(models() / "b.bin"));
  EXPECT_TRUE(contains(window.texts(), {"Titel b", "2,0 KB  ·  MIT", "Fehlt", "[Laden]"}));
  EXPECT_EQ(message(window), "Ablage: ~/models");

  // Gone behind the screen's back: the store's refusal shows in coral.
  fs::remove(models() / "c.bin");
  answer("Löschen");
  window.press("remove:c");
  EXPECT_EQ(message(window), "Dieses Modell liegt nicht im Modell-Ordner.");
  EXPECT_EQ(messageColor(window), window::kCoral);
}

TEST_F(ModelsScreen, FolderButtonMakesAndOpensTheModelFolder) {
  publishThree();
  UrlCatcher catcher;
  QDesktopServices::setUrlHandler("file", &catcher, "open");
  Window window(options());
  openAndLoad(window);
  window.press("secondary");
  QDesktopServices::unsetUrlHandler("file");
  EXPECT_TRUE(fs::is_directory(models()));
  ASSERT_EQ(catcher.urls.size(), 1u);
  EXPECT_EQ(catcher.urls[0].toLocalFile().toStdString(), models().string());
}

TEST_F(ModelsScreen, ListKeepsItsPlaceAcrossRebuildsAndClampsWhenItShrinks) {
  std::vector<nlohmann::json> entries;
  for (const char* id : {"m1", "m2", "m3", "m4", "m5"})
    entries.push_back(fileModel(id, "x"));
  const std::string slow(1000, 's');
  entries.push_back(fileModel("m6", slow));
  server_.publish(entries, {"x", "x", "x", "x", "x", slow});
  server_.http.route("/m/m6.bin", {HttpMode::Trickle, slow, 100});
  const auto scroll = [](Window& window) {
    return window.widget().findChild<window::KVScrollArea*>()->verticalScrollBar();
  };
  Window window(options());
  openAndLoad(window);
  ASSERT_EQ(scroll(window)->maximum(), 40) << "six rows of 56 in a list 296 high";
  scroll(window)->setValue(40);
  window.press("fetch:m6");
  EXPECT_EQ(scroll(window)->value(), 40);
  // A rebuild from a progress report.
  ASSERT_TRUE(waitUntil([&] { return message(window).find(" / 1,0 KB") != std::string::npos; }))
      << message(window);
  EXPECT_EQ(scroll(window)->value(), 40);
  window.press("cancel");
  ASSERT_TRUE(waitUntil([&] { return !window.controller().modelBusy(); }));
  EXPECT_EQ(scroll(window)->value(), 40);

  // In again with the six rows in memory while a list of five arrives.
  window.press("text");
  entries.pop_back();
  server_.publish(entries, std::vector<std::string>(5, "x"));
  window.press("models");
  scroll(window)->setValue(40);
  ASSERT_TRUE(waitUntil([&] { return !window.controller().listLoading(); }));
  EXPECT_EQ(scroll(window)->maximum(), 0);
  EXPECT_EQ(scroll(window)->value(), 0);
}

TEST_F(ModelsScreen, ClosingTheWindowStopsAListRefreshOnASlowServer) {
  // A day's trickle: if quitting did not stop the refresh, the controller's destruction, which
  // waits for its workers, would hang until the suite's time limit.
  server_.http.route("/m/models.json", {HttpMode::Trickle, std::string(100'000, ' '), 1});
  {
    Window window(options());
    window.press("models");
    ASSERT_TRUE(waitUntil([&] { return !server_.http.requests().empty(); }));
    EXPECT_TRUE(window.controller().listLoading());
  }
  EXPECT_EQ(server_.http.requests().size(), 1u);
}

}  // namespace
}  // namespace velko::test

#include "models_screen_test.moc"
