// The models screen against the loopback model server and a real model folder, in both languages.
#include "tests/window/window_fixture.h"

namespace velko::test {
namespace {

TEST(ModelsScreen, RowsWorkAndSayWhatHappened) {
  using window::kAccent, window::kAmber;
  // clang-format off
  const std::string mitDe = "|1,0 KB  ·  MIT|", mitEn = "|1.0 KB  ·  MIT|";
  // Installed and bundled count as downloaded; "all" is the missing, partial and updated.
  playAll({
    {"every row state", "served models loaded", "KI-Modelle|3 von 8 geladen · 1,0 KB belegt|Titel "
     "mis" + mitDe + "Fehlt|[Laden]{Titel mis}|Titel part" + mitDe + "Unterbrochen|"
     "[Fortsetzen]{Titel part}|Titel inst" + mitDe + "Geladen|[Löschen]{Titel inst}|Titel upd"
     + mitDe + "Update verfügbar|[Aktualisieren]{Titel upd}|Titel bun" + mitDe + "Im Programm "
     "enthalten|Titel new" + mitDe + "Braucht eine neuere Version|Titel nolic|1,0 KB  ·  –|Fehlt|"
     "[Laden]{Titel nolic}|Titel eight" + mitDe + "Fehlt|[Laden]{Titel eight}|Ablage: ~/models|"
     "[Zurück]|[Im Finder zeigen]|[Alle laden (5,0 KB)]", "AI models|3 of 8 downloaded · 1.0 KB "
     "used|Title mis" + mitEn + "Missing|[Download]{Title mis}|Title part" + mitEn + "Interrupted|"
     "[Resume]{Title part}|Title inst" + mitEn + "Downloaded|[Delete]{Title inst}|Title upd"
     + mitEn + "Update available|[Update]{Title upd}|Title bun" + mitEn + "Included with the app|"
     "Title new" + mitEn + "Needs a newer version|Title nolic|1.0 KB  ·  –|Missing|"
     "[Download]{Title nolic}|Title eight" + mitEn + "Missing|[Download]{Title eight}|Stored in: "
     "~/models|[Back]|[Show in Finder]|[Download all (5.0 KB)]",
     {{"missing dot", -3, 185, QColor(164, 168, 173)}, {"partial dot", -3, 241, kAmber},
     {"installed dot", -3, 297, kAccent}, {"update dot", -3, 353, kAmber},
     {"bundled dot", -3, 409, kAccent}}},
    {"held while refreshing", "served models loaded text fail:models.json models", "KI-Modelle|3 "
     "von 8 geladen · 1,0 KB belegt · Liste wird aktualisiert …|Titel mis|*|[Laden] (off){Titel "
     "mis}|*|[Alle laden (5,0 KB)] (off)", "AI models|3 of 8 downloaded · 1.0 KB used · updating "
     "the list …|*|[Download all (5.0 KB)] (off)"},
    {"a failed refresh keeps the list", "served models loaded text fail:models.json models loaded",
     "*|[Laden]{Titel mis}|*|Modell-Liste nicht erreichbar (*). Angezeigt wird die zuletzt "
     "gespeicherte Liste. (coral)|*", "*|Model list not reachable (*). Showing the last saved "
     "list. (coral)|*"},
    {"no list; the folder", "models loaded finder", "KI-Modelle|Keine Modell-Liste verfügbar|Die "
     "Liste konnte nicht geladen werden. Prüfe die Internetverbindung und öffne den Bereich "
     "erneut.|Modell-Liste nicht erreichbar (*). (coral)|[Zurück]|[Im Finder zeigen]|[Alle "
     "geladen] (off)", "AI models|No model list available|The list could not be loaded. Check your "
     "internet connection and open this area again.|Model list not reachable (*). (coral)|*"},
    {"download starts", "served slow:mis.bin models loaded fetch:mis", "*|Titel mis" + mitDe +
     "startet …|[Abbrechen]{Titel mis}|Titel part" + mitDe + "Unterbrochen|[Fortsetzen] "
     "(off){Titel part}|*|Lädt Titel mis  |*|[Abbrechen]", "*|starting …|[Cancel]{Title mis}|*|"
     "Downloading Title mis  |*|[Cancel]"},
    // The list stays scrolled to its end through the rebuilds.
    {"progress", "served slow:eight.bin models loaded scroll fetch:eight progress", "*|Titel eight"
     + mitDe + "* %|[Abbrechen]{Titel eight}|Lädt Titel eight  * / 1,0 KB|*", {},
     {{"too new a model's dot", -3, 313, kAmber}, {"bar", -1, 426, kAmber}}},
    {"cancel keeps the part", "served slow:mis.bin models loaded fetch:mis received cancel done",
     "*|Titel mis" + mitDe + "Unterbrochen|[Fortsetzen]{Titel mis}|*|Abgebrochen. Der "
     "Teil-Download bleibt liegen und wird beim nächsten Mal fortgesetzt.|*", "*|Cancelled. The "
     "partial download is kept and resumed next time.|*"},
    {"resume", "served slow:mis.bin models loaded fetch:mis progress cancel done serve:mis.bin "
     "fetch:mis done", "*|Titel mis" + mitDe + "Geladen|[Löschen]{Titel mis}|*|Ablage: ~/models|*"},
    {"removal asks first; no keeps, yes deletes", "served models loaded no remove:inst yes "
     "remove:inst", "*|Titel inst" + mitDe + "Fehlt|[Laden]{Titel inst}|*|Ablage: ~/models|*|"
     "„Titel inst“ löschen?|Das Modell wird von diesem Mac entfernt. Du kannst es jederzeit wieder "
     "laden.", "*|Delete “Title inst”?|The model is removed from this Mac. You can download it "
     "again at any time."},
    {"removal of a model gone", "served models loaded rm:inst.bin yes remove:inst", "*|Dieses "
     "Modell liegt nicht im Modell-Ordner. (coral)|*", "*|This model is not in the model folder. "
     "(coral)|*"},
    {"batch", "served slow:mis.bin models loaded primary progress", "*|[Abbrechen]{Titel mis}|*|"
     "Modell 1 von 5: Titel mis  * / 1,0 KB|*|[Abbrechen]", "*|Model 1 of 5: Title mis  * / 1.0 KB|"
     "*"},
    {"batch past a failure", "served fail:part.bin models loaded primary done", "KI-Modelle|6 von "
     "8 geladen · 5,0 KB belegt|*|4 Modelle geladen, 1 fehlgeschlagen: Modell-Server antwortet mit "
     "HTTP 404. (coral)|*", "AI models|6 of 8 downloaded · 5.0 KB used|*|4 models loaded, 1 "
     "failed: Model server answered HTTP 404. (coral)|*"},
    {"batch cancelled", "served slow:mis.bin models loaded primary progress primary done", "*|"
     "Abgebrochen. 0 Modelle geladen; der Teil-Download bleibt liegen und wird fortgesetzt.|*", "*|"
     "Cancelled. 0 models loaded; the partial download is kept and resumed next time.|*"},
    {"leaving asks to stop, back does not refresh", "served slow:mis.bin models loaded fetch:mis "
     "text is:idle models", "KI-Modelle|3 von 8 geladen · 1,0 KB belegt|Titel mis" + mitDe +
     "startet …|*"},
    {"the stop arrives", "served slow:mis.bin models loaded fetch:mis text models done", "*|"
     "Abgebrochen. Der Teil-Download bleibt*"},
    // A day's trickle: if closing did not stop the work, the controller's destruction, which
    // waits for its workers, would hang until the suite's time limit.
    {"closing stops a download", "served stuck:mis.bin models loaded fetch:mis progress", ""},
    {"closing stops a refresh", "served stuck:models.json models", ""},
  });
  // clang-format on
}

}  // namespace
}  // namespace velko::test
