// Every text of the four main screens, German and English, for each state the screens tell apart.
#include "plugin_export/message_language.h"
#include "tests/window/window_fixture.h"

namespace velko::test {
namespace {

using Texts = std::vector<std::string>;

enum class Disk { Fine, BlockedUxp, BrokenRegistry };

// What stands on the machine, the launch options, and the buttons pressed.
struct Situation {
  const char* name;
  std::vector<const char*> photoshops;  // versions: 23.5 is "Adobe Photoshop 2022", else 2025
  const char* installed;                // the version installed before; "" for none
  bool running;                         // Photoshop is taken to be running
  const char* autoAction;
  Disk disk;
  std::vector<QString> presses;
};

struct ScreenState {
  Situation situation;
  Texts german;  // after the header and product block; an entry ending in '*' matches any text
                 // with that beginning
  Texts english;
};

const Texts kHeader = {"SOLSTICE TOOLS"};
const Texts kHeaderAndProduct = {"SOLSTICE TOOLS", "Sample Plugin", "Version 1.2.0"};

void expectTexts(const Texts& actual, const Texts& expected) {
  ASSERT_EQ(actual.size(), expected.size()) << ::testing::PrintToString(actual);
  for (size_t i = 0; i < actual.size(); ++i) {
    const std::string& want = expected[i];
    if (!want.empty() && want.back() == '*') {
      EXPECT_EQ(actual[i].substr(0, want.size() - 1), want.substr(0, want.size() - 1));
    } else {
      EXPECT_EQ(actual[i], want);
    }
  }
}

TEST(WindowScreens, EveryTextInBothLanguages) {
  const std::string hintDe =
      "Die Installation gilt für den aktuellen Benutzer und braucht keine Administratorrechte.";
  const std::string hintEn =
      "The installation applies to the current user and needs no administrator rights.";
  const std::string startDe = " Photoshop starten: Das Plugin erscheint im Menü „Plugins“.";
  const std::string startEn = " Start Photoshop: the plugin appears in the \"Plugins\" menu.";
  const std::vector<ScreenState> states = {
      {{"no Photoshop, not installed", {}, "", false, "", Disk::Fine, {}},
       {"Kein Photoshop gefunden, nötig ist Version 24.2.0 oder neuer", "Nicht installiert", hintDe,
        "[KI-Modelle verwalten …]", "[Installieren] (off)", "[Trotzdem installieren]"},
       {"No Photoshop found, version 24.2.0 or newer is required", "Not installed", hintEn,
        "[Manage AI models …]", "[Install] (off)", "[Install anyway]"}},
      {{"too old Photoshop, older version installed", {"23.5"}, "1.0.0", false, "", Disk::Fine, {}},
       {"Adobe Photoshop 2022 (23.5) ist zu alt, nötig ist 24.2.0 oder neuer",
        "Installiert: Version 1.0.0, Version 1.2.0 liegt bereit", hintDe,
        "[KI-Modelle verwalten …]", "[Aktualisieren] (off)", "[Deinstallieren]",
        "[Trotzdem installieren]"},
       {"Adobe Photoshop 2022 (23.5) is too old, 24.2.0 or newer is required",
        "Installed: version 1.0.0, version 1.2.0 is ready", hintEn, "[Manage AI models …]",
        "[Update] (off)", "[Uninstall]", "[Install anyway]"}},
      {{"old and new Photoshop running, 1.2", {"23.5", "26.1"}, "1.2", true, "", Disk::Fine, {}},
       {"Adobe Photoshop 2025 (26.1) gefunden, läuft gerade", "Installiert: Version 1.2 (aktuell)",
        "Photoshop muss vor dem Installieren beendet sein. Der Installer bittet beim Start darum.",
        "[KI-Modelle verwalten …]", "[Neu installieren]", "[Deinstallieren]", "[Beenden]"},
       {"Adobe Photoshop 2025 (26.1) found, currently running",
        "Installed: version 1.2 (up to date)",
        "Photoshop must be closed before installing. The installer asks for it when you start.",
        "[Manage AI models …]", "[Reinstall]", "[Uninstall]", "[Quit]"}},
      {{"newer version installed", {"26.1"}, "2.0.0", false, "", Disk::Fine, {}},
       {"Adobe Photoshop 2025 (26.1) gefunden",
        "Installiert: Version 2.0.0, Version 1.2.0 liegt bereit", hintDe,
        "[KI-Modelle verwalten …]", "[Aktualisieren]", "[Deinstallieren]", "[Beenden]"},
       {"Adobe Photoshop 2025 (26.1) found", "Installed: version 2.0.0, version 1.2.0 is ready",
        hintEn, "[Manage AI models …]", "[Update]", "[Uninstall]", "[Quit]"}},
      {{"waiting", {"26.1"}, "", true, "", Disk::Fine, {"primary"}},
       {"Photoshop läuft",
        "Photoshop muss beendet sein, bevor das Plugin installiert wird. Photoshop fragt beim "
        "Beenden selbst nach ungespeicherter Arbeit.",
        "[Photoshop beenden]", "[Abbrechen]"},
       {"Photoshop is running",
        "Photoshop must be closed before the plugin is installed. Photoshop itself asks about "
        "unsaved work when quitting.",
        "[Quit Photoshop]", "[Cancel]"}},
      {{"waiting after the request", {"26.1"}, "", true, "", Disk::Fine, {"primary", "primary"}},
       {"Photoshop läuft", "Warte auf Photoshop…", "[Photoshop beenden] (off)", "[Abbrechen]"},
       {"Photoshop is running", "Waiting for Photoshop…", "[Quit Photoshop] (off)", "[Cancel]"}},
      {{"installed", {"26.1"}, "", false, "", Disk::Fine, {"primary"}},
       {"✓", "Installiert", "Sample Plugin 1.2.0 ist installiert." + startDe, "[Fertig]"},
       {"✓", "Installed", "Sample Plugin 1.2.0 is installed." + startEn, "[Done]"}},
      {{"updated", {"26.1"}, "1.0.0", false, "", Disk::Fine, {"primary"}},
       {"✓", "Aktualisiert",
        "Sample Plugin wurde von Version 1.0.0 auf Version 1.2.0 aktualisiert. Ältere Versionen "
        "sind entfernt." +
            startDe,
        "[Fertig]"},
       {"✓", "Updated",
        "Sample Plugin was updated from version 1.0.0 to version 1.2.0. Older versions were "
        "removed." +
            startEn,
        "[Done]"}},
      {{"reinstalled", {"26.1"}, "1.2.0", false, "", Disk::Fine, {"primary"}},
       {"✓", "Neu installiert", "Sample Plugin 1.2.0 wurde neu installiert." + startDe, "[Fertig]"},
       {"✓", "Reinstalled", "Sample Plugin 1.2.0 was reinstalled." + startEn, "[Done]"}},
      {{"uninstalled", {"26.1"}, "1.2.0", false, "", Disk::Fine, {"secondary"}},
       {"✓", "Deinstalliert",
        "Sample Plugin wurde entfernt. Beim nächsten Start von Photoshop ist das Plugin "
        "verschwunden.",
        "[Fertig]"},
       {"✓", "Uninstalled",
        "Sample Plugin was removed. The plugin is gone the next time Photoshop starts.", "[Done]"}},
      {{"nothing to uninstall", {}, "", false, "uninstall", Disk::Fine, {}},
       {"i", "Nichts zu deinstallieren", "Sample Plugin war nicht installiert.", "[Fertig]"},
       {"i", "Nothing to uninstall", "Sample Plugin was not installed.", "[Done]"}},
      {{"install failed", {"26.1"}, "", false, "", Disk::BlockedUxp, {"primary"}},
       {"!", "Das hat nicht geklappt",
        "Die Installation ist fehlgeschlagen. Photoshop und vorhandene Plugins bleiben "
        "unverändert benutzbar.",
        "Details: Konnte Plugins/External nicht anlegen: *", "[Fertig]", "[Erneut versuchen]"},
       {"!", "That did not work",
        "The installation failed. Photoshop and existing plugins remain usable as before.",
        "Details: Could not create Plugins/External: *", "[Done]", "[Try again]"}},
      {{"uninstall failed", {}, "", false, "uninstall", Disk::BrokenRegistry, {}},
       {"!", "Das hat nicht geklappt", "Die Deinstallation ist fehlgeschlagen.", "Details: *",
        "[Fertig]", "[Erneut versuchen]"},
       {"!", "That did not work", "The uninstall failed.", "Details: *", "[Done]", "[Try again]"}},
  };
  for (const bool english : {false, true}) {
    plugin_export::setMessageLanguage(english ? "en" : "de");
    for (const ScreenState& state : states) {
      SCOPED_TRACE(std::string(state.situation.name) + (english ? " (en)" : " (de)"));
      Scene scene;
      const Situation& situation = state.situation;
      for (const std::string version : situation.photoshops) {
        scene.addPhotoshop(version == "23.5" ? "Adobe Photoshop 2022" : "Adobe Photoshop 2025",
                           version);
      }
      if (*situation.installed != '\0') scene.preinstall(situation.installed);
      window::ControllerOptions options = scene.options(english);
      options.assumeRunning = situation.running;
      options.autoAction = situation.autoAction;
      if (situation.disk == Disk::BlockedUxp) options.uxpBaseDir = scene.blockedUxp().string();
      if (situation.disk == Disk::BrokenRegistry) {
        writeFile(scene.uxp() / "PluginsInfo/v1/PS.json", "{ not json");
      }
      Window window(options);
      for (const QString& press : state.situation.presses)
        window.press(press);
      Texts expected = options.package ? kHeaderAndProduct : kHeader;
      const Texts& rest = english ? state.english : state.german;
      expected.insert(expected.end(), rest.begin(), rest.end());
      expectTexts(window.texts(), expected);
    }
  }
  plugin_export::setMessageLanguage("de");
}

// A failure message longer than its frame wraps and is cut there; the screen keeps its size.
TEST(WindowScreens, LongDetailIsCutByItsFrame) {
  Scene scene;
  scene.addPhotoshop("Adobe Photoshop 2025", "26.1");
  window::ControllerOptions options = scene.options(true);
  std::string words;  // spaces, as in real folder names, let the text wrap
  for (int i = 0; i < 30; ++i)
    words += "folder ";
  options.uxpBaseDir = (scene.blockedUxp() / words).string();
  Window window(options);
  window.press("primary");
  QLabel* detail = nullptr;
  for (QLabel* label : window.widget().findChildren<QLabel*>()) {
    if (label->text().startsWith("Details: ")) detail = label;
  }
  ASSERT_NE(detail, nullptr);
  EXPECT_EQ(detail->geometry(), QRect(92, 262, 436, 44));
  EXPECT_GT(detail->heightForWidth(436), 44);
  EXPECT_EQ(window.widget().size(), QSize(560, 400));
}

}  // namespace
}  // namespace velko::test
