// The models screen against the loopback model server and a real model folder, in both languages.
#include "tests/window/window_fixture.h"

namespace velko::test {
namespace {

// Receives the file manager's calls in place of the desktop.
class UrlCatcher : public QObject {
  Q_OBJECT
 public:
  std::vector<QUrl> urls;
 public slots:
  void open(const QUrl& url) { urls.push_back(url); }
};

TEST(ModelsScreen, RowsWorkAndSayWhatHappened) {
  const QColor kDimOnCard(164, 168, 173);  // text at 0.62 over the card
  const auto dots = [&](KVController& c, const Scene&) {
    // clang-format off
    for (const auto& [id, color] : std::vector<std::pair<const char*, QColor>>{
             {"mis", kDimOnCard}, {"part", window::kAmber}, {"inst", window::kAccent}, {"upd", window::kAmber},
             {"bun", window::kAccent}, {"new", window::kAmber}, {"nolic", kDimOnCard}}) {
      // clang-format on
      // Painted alone over the card: some rows lie below the fold.
      QWidget* dot = c.window()->findChild<QWidget*>(QStringLiteral("dot:") + id);
      QImage image(dot->size(), QImage::Format_RGB32);
      image.fill(QColor(38, 50, 62));
      dot->render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
      expectProbes(image, {{id, 3, 3, color}});
    }
  };
  const auto keepsItsPlace = [](KVController& c, const Scene&) {
    EXPECT_EQ(c.window()->findChild<QScrollArea*>()->verticalScrollBar()->value(), 152);
  };
  // The folder button makes the model folder and hands it to the file manager.
  const auto folder = [](KVController& c, const Scene& scene) {
    ASSERT_FALSE(fs::exists(scene.models()));
    UrlCatcher catcher;
    QDesktopServices::setUrlHandler("file", &catcher, "open");
    c.window()->findChild<KVButton*>("secondary")->click();
    QDesktopServices::unsetUrlHandler("file");
    EXPECT_TRUE(fs::is_directory(scene.models()));
    ASSERT_EQ(catcher.urls.size(), 1u);
    EXPECT_EQ(catcher.urls[0].toLocalFile().toStdString(), scene.models().string());
  };
  const std::string mitDe = "|1,0 KB  ·  MIT|", mitEn = "|1.0 KB  ·  MIT|";
  const std::string cancelledDe =
      "Abgebrochen. Der Teil-Download bleibt liegen und wird beim nächsten Mal fortgesetzt.";
  const std::string cancelledEn = "Cancelled. The partial download is kept and resumed next time.";
  // clang-format off
  playAll({
    // Installed and bundled count as downloaded; "all" is the missing, partial and updated.
    {"every row state", "mixed models loaded",
     "KI-Modelle|3 von 8 geladen · 1,0 KB belegt|Titel mis" + mitDe + "Fehlt|[Laden]{Titel mis}"
     "|Titel part" + mitDe + "Unterbrochen|[Fortsetzen]{Titel part}|Titel inst" + mitDe +
     "Geladen|[Löschen]{Titel inst}|Titel upd" + mitDe + "Update verfügbar|[Aktualisieren]{Titel "
     "upd}|Titel bun" + mitDe + "Im Programm enthalten|Titel new" + mitDe + "Braucht eine neuere "
     "Version|Titel nolic|1,0 KB  ·  –|Fehlt|[Laden]{Titel nolic}|Titel eight" + mitDe +
     "Fehlt|[Laden]{Titel eight}|Ablage: ~/models|[Zurück]|[Im Finder zeigen]|[Alle laden "
     "(5,0 KB)]",
     "AI models|3 of 8 downloaded · 1.0 KB used|Title mis" + mitEn + "Missing|[Download]{Title "
     "mis}|Title part" + mitEn + "Interrupted|[Resume]{Title part}|Title inst" + mitEn +
     "Downloaded|[Delete]{Title inst}|Title upd" + mitEn + "Update available|[Update]{Title upd}"
     "|Title bun" + mitEn + "Included with the app|Title new" + mitEn + "Needs a newer version"
     "|Title nolic|1.0 KB  ·  –|Missing|[Download]{Title nolic}|Title eight" + mitEn +
     "Missing|[Download]{Title eight}|Stored in: ~/models|[Back]|[Show in Finder]|[Download all "
     "(5.0 KB)]", {}, dots},
    {"a list in memory shows at once, its buttons held while it refreshes",
     "three models loaded text fail:models.json models",
     "KI-Modelle|0 von 3 geladen · 0,0 KB belegt · Liste wird aktualisiert …|Titel a|*|[Laden] "
     "(off){Titel a}|*|[Alle laden (6,0 KB)] (off)",
     "AI models|0 of 3 downloaded · 0.0 KB used · updating the list …|Title a|*|[Download] "
     "(off){Title a}|*|[Download all (6.0 KB)] (off)"},
    {"a failed refresh keeps the saved list and says why",
     "three models loaded text fail:models.json models loaded",
     "*|[Laden]{Titel a}|*|Modell-Liste nicht erreichbar (*). Angezeigt wird die zuletzt "
     "gespeicherte Liste. (coral)|*",
     "*|[Download]{Title a}|*|Model list not reachable (*). Showing the last saved list. (coral)|*"},
    {"without a saved list a failed refresh shows nothing, and the folder is made when shown",
     "three fail:models.json models loaded",
     "KI-Modelle|Keine Modell-Liste verfügbar|Die Liste konnte nicht geladen werden. Prüfe die "
     "Internetverbindung und öffne den Bereich erneut.|Modell-Liste nicht erreichbar (*). "
     "(coral)|[Zurück]|[Im Finder zeigen]|[Alle geladen] (off)",
     "AI models|No model list available|The list could not be loaded. Check your internet "
     "connection and open this area again.|Model list not reachable (*). (coral)|[Back]|[Show in "
     "Finder]|[All downloaded] (off)", {}, folder},
    {"a download starts", "three slow:a.bin models loaded fetch:a",
     "*|Titel a|1,0 KB  ·  MIT|startet …|[Abbrechen]{Titel a}|Titel b|2,0 KB  ·  MIT|Fehlt"
     "|[Laden] (off){Titel b}|*|Lädt Titel a  |*|[Abbrechen]",
     "*|Title a|1.0 KB  ·  MIT|starting …|[Cancel]{Title a}|*|Downloading Title a  |*|[Cancel]"},
    {"a download shows its progress and keeps the list's place",
     "mixed slow:eight.bin models loaded scroll fetch:eight progress",
     "*|Titel eight" + mitDe + "* %|[Abbrechen]{Titel eight}|Lädt Titel eight  * / 1,0 KB|*",
     "*|Title eight" + mitEn + "* %|[Cancel]{Title eight}|Downloading Title eight  * / 1.0 KB|*",
     {}, keepsItsPlace},
    {"a cancelled download keeps its part", "three slow:a.bin models loaded fetch:a progress "
     "cancel done", "*|Unterbrochen|[Fortsetzen]{Titel a}|*|" + cancelledDe + "|*",
     "*|Interrupted|[Resume]{Title a}|*|" + cancelledEn + "|*"},
    {"a resumed download ends installed", "three slow:a.bin models loaded fetch:a progress cancel "
     "done serve:a.bin fetch:a done",
     "*|Titel a|1,0 KB  ·  MIT|Geladen|[Löschen]{Titel a}|*|Ablage: ~/models|*",
     "*|Downloaded|[Delete]{Title a}|*|Stored in: ~/models|*"},
    {"removal asks first", "mixed models loaded no remove:inst",
     "*|Geladen|[Löschen]{Titel inst}|*|„Titel inst“ löschen?|Das Modell wird von diesem Mac "
     "entfernt. Du kannst es jederzeit wieder laden.",
     "*|Downloaded|[Delete]{Title inst}|*|Delete “Title inst”?|The model is removed from this "
     "Mac. You can download it again at any time."},
    {"a confirmed removal deletes the model", "mixed models loaded yes remove:inst",
     "*|Titel inst" + mitDe + "Fehlt|[Laden]{Titel inst}|*|Ablage: ~/models|*",
     "*|Title inst" + mitEn + "Missing|[Download]{Title inst}|*"},
    {"a model gone behind the screen's back cannot be removed",
     "mixed models loaded rm:inst.bin yes remove:inst",
     "*|Dieses Modell liegt nicht im Modell-Ordner. (coral)|*",
     "*|This model is not in the model folder. (coral)|*"},
    {"the batch counts its models", "three slow:a.bin models loaded primary progress",
     "*|[Abbrechen]{Titel a}|*|Modell 1 von 3: Titel a  * / 1,0 KB|*|[Abbrechen]",
     "*|[Cancel]{Title a}|*|Model 1 of 3: Title a  * / 1.0 KB|*|[Cancel]"},
    {"the batch goes on past a failure and reports it", "three fail:b.bin models loaded primary "
     "done", "KI-Modelle|2 von 3 geladen · 4,0 KB belegt|*|2 Modelle geladen, 1 fehlgeschlagen: "
     "Modell-Server antwortet mit HTTP 404. (coral)|*",
     "AI models|2 of 3 downloaded · 4.0 KB used|*|2 models loaded, 1 failed: Model server "
     "answered HTTP 404. (coral)|*"},
    {"the primary button cancels the batch", "three slow:a.bin models loaded primary progress "
     "primary done",
     "*|Abgebrochen. 0 Modelle geladen; der Teil-Download bleibt liegen und wird fortgesetzt.|*",
     "*|Cancelled. 0 models loaded; the partial download is kept and resumed next time.|*"},
    {"leaving during a download asks it to stop; coming back does not refresh",
     "three slow:a.bin models loaded fetch:a text is:idle models",
     "KI-Modelle|0 von 3 geladen · 0,0 KB belegt|Titel a|1,0 KB  ·  MIT|startet …|*"},
    {"the stop arrives as the download ends",
     "three slow:a.bin models loaded fetch:a text models done", "*|" + cancelledDe + "|*"},
    // A day's trickle: if closing did not stop the work, the controller's destruction, which
    // waits for its workers, would hang until the suite's time limit.
    {"closing the window stops a download", "three stuck:a.bin models loaded fetch:a progress", ""},
    {"closing the window stops a list refresh", "three stuck:models.json models", ""},
  });
  // clang-format on
}

}  // namespace
}  // namespace velko::test

#include "models_screen_test.moc"
