// The main screens' transitions and every text they show in both languages, one scenario a row.
#include "tests/window/window_fixture.h"

namespace velko::test {
namespace {

TEST(WindowScreens, ButtonsTickAndLaunchLeadToScreensThatSayWhatHappened) {
  // clang-format off
  // The waiting screen's picture, which the program cannot be asked for from the command line.
  const QColor amber(255, 161, 0);
  const std::vector<Probe> waiting = {{"card", 40, 160, QColor(38, 50, 62)},
                                      {"amber dot", 53, 177, amber}, {"primary", 356, 340, amber}};
  playAll({
    {"install, Done closes", "ps:26.1 primary is:done v:1.2.0 primary closed", "✓|Installiert|"
     "Sample Plugin 1.2.0 ist installiert. Photoshop starten: Das Plugin erscheint im Menü "
     "„Plugins“.|[Fertig]", "✓|Installed|Sample Plugin 1.2.0 is installed. Start Photoshop: the "
     "plugin appears in the \"Plugins\" menu.|[Done]"},
    {"update", "ps:26.1 had:1.0.0 primary is:done v:1.2.0", "✓|Aktualisiert|Sample Plugin wurde "
     "von Version 1.0.0 auf Version 1.2.0 aktualisiert. Ältere Versionen sind entfernt. *", "✓|"
     "Updated|Sample Plugin was updated from version 1.0.0 to version 1.2.0. Older versions were "
     "removed. *"},
    {"reinstall", "ps:26.1 had:1.2.0 primary is:done v:1.2.0", "✓|Neu installiert|Sample Plugin "
     "1.2.0 wurde neu installiert. *", "✓|Reinstalled|Sample Plugin 1.2.0 was reinstalled. *"},
    {"uninstall", "ps:26.1 had:1.0.0 secondary is:done v:", "✓|Deinstalliert|Sample Plugin wurde "
     "entfernt. Beim nächsten Start von Photoshop ist das Plugin verschwunden.|[Fertig]", "✓|"
     "Uninstalled|Sample Plugin was removed. The plugin is gone the next time Photoshop starts.|"
     "[Done]"},
    {"nothing to uninstall", "auto:uninstall is:done", "i|Nichts zu deinstallieren|Sample Plugin "
     "war nicht installiert.|[Fertig]", "i|Nothing to uninstall|Sample Plugin was not installed.|"
     "[Done]"},
    {"failed install", "ps:26.1 blocked primary is:done", "! (coral)|Das hat nicht geklappt|Die "
     "Installation ist fehlgeschlagen. Photoshop und vorhandene Plugins bleiben unverändert "
     "benutzbar.|Details: Konnte Plugins/External nicht anlegen: *|[Fertig]|[Erneut versuchen]",
     "! (coral)|That did not work|The installation failed. Photoshop and existing plugins remain "
     "usable as before.|Details: Could not create Plugins/External: *|[Done]|[Try again]"},
    {"failed uninstall", "broken auto:uninstall is:done", "! (coral)|Das hat nicht geklappt|Die "
     "Deinstallation ist fehlgeschlagen.|Details: *|[Fertig]|[Erneut versuchen]", "! (coral)|That "
     "did not work|The uninstall failed.|Details: *|[Done]|[Try again]"},
    {"try again", "ps:26.1 blocked primary secondary is:idle", ""},
    {"install disabled", "primary is:idle v:", "Kein Photoshop gefunden, nötig ist Version 24.2.0 "
     "oder neuer|Nicht installiert|Die Installation gilt für den aktuellen Benutzer und braucht "
     "keine Administratorrechte.|[KI-Modelle verwalten …]|[Installieren] (off)|[Trotzdem "
     "installieren]", "No Photoshop found, version 24.2.0 or newer is required|Not installed|The "
     "installation applies to the current user and needs no administrator rights.|[Manage AI "
     "models …]|[Install] (off)|[Install anyway]"},
    {"install anyway", "text is:done v:1.2.0", ""},
    {"too old a Photoshop", "ps:23.5 had:1.0.0", "Adobe Photoshop 2022 (23.5) ist zu alt, nötig "
     "ist 24.2.0 oder neuer|Installiert: Version 1.0.0, Version 1.2.0 liegt bereit|*|"
     "[Aktualisieren] (off)|[Deinstallieren]|[Trotzdem installieren]", "Adobe Photoshop 2022 "
     "(23.5) is too old, 24.2.0 or newer is required|Installed: version 1.0.0, version 1.2.0 is "
     "ready|*|[Update] (off)|[Uninstall]|[Install anyway]"},
    {"quit", "ps:26.1 had:2.0.0 text is:idle closed", "Adobe Photoshop 2025 (26.1) gefunden|"
     "Installiert: Version 2.0.0, Version 1.2.0 liegt bereit|*|[Aktualisieren]|[Deinstallieren]|"
     "[Beenden]", "Adobe Photoshop 2025 (26.1) found|Installed: version 2.0.0, version 1.2.0 is "
     "ready|*|[Update]|[Uninstall]|[Quit]"},
    {"install waits for Photoshop", "ps:26.1 running primary tick is:waiting v:", "Photoshop läuft|"
     "Photoshop muss beendet sein, bevor das Plugin installiert wird. Photoshop fragt beim Beenden "
     "selbst nach ungespeicherter Arbeit.|[Photoshop beenden]|[Abbrechen]", "Photoshop is running|"
     "Photoshop must be closed before the plugin is installed. Photoshop itself asks about unsaved "
     "work when quitting.|[Quit Photoshop]|[Cancel]", waiting},
    {"install anyway waits", "ps:23.0 running text is:waiting", ""},
    {"uninstall waits", "ps:26.1 running had:1.2.0 secondary is:waiting v:1.2.0", ""},
    {"cancel the wait", "ps:23.5 ps:26.1 running had:1.2 primary text is:idle v:1.2", "Adobe "
     "Photoshop 2025 (26.1) gefunden, läuft gerade|Installiert: Version 1.2 (aktuell)|Photoshop "
     "muss vor dem Installieren beendet sein. Der Installer bittet beim Start darum.|[KI-Modelle "
     "verwalten …]|[Neu installieren]|[Deinstallieren]|[Beenden]", "Adobe Photoshop 2025 (26.1) "
     "found, currently running|Installed: version 1.2 (up to date)|Photoshop must be closed before "
     "installing. The installer asks for it when you start.|[Manage AI models …]|[Reinstall]|"
     "[Uninstall]|[Quit]"},
    {"waiting for ever", "ps:26.1 assumed primary primary tick tick is:waiting", "Photoshop läuft|"
     "Warte auf Photoshop…|[Photoshop beenden] (off)|[Abbrechen]", "Photoshop is running|Waiting "
     "for Photoshop…|[Quit Photoshop] (off)|[Cancel]"},
    // A Mac asks through NSWorkspace, which the fake Photoshop, a copy of sleep, does not hear.
    {"quit request, tick installs",
     onLinux() ? "ps:26.1 running primary primary reap tick is:done v:1.2.0" : "", ""},
    {"auto install does not wait", "ps:26.1 running auto:install is:done v:1.2.0", ""},
    {"auto uninstall does not wait", "ps:26.1 running had:1.2.0 auto:uninstall is:done v:", ""},
    {"no package", "had:1.2.0 no-package auto:uninstall primary is:missing v:1.2.0 closed",
     "Plugin nicht gefunden|! (coral)|Der Installer findet das Plugin nicht. Bitte direkt aus dem "
     "Disk-Image starten und nicht vorher an einen anderen Ort kopieren.|[Beenden]|[KI-Modelle …]",
     "Plugin not found|! (coral)|The installer cannot find the plugin. Please run it directly from "
     "the disk image without copying it elsewhere first.|[Quit]|[AI models …]"},
    {"models", "ps:26.1 models is:models", "KI-Modelle|Liste wird geladen …|Die Liste wird vom "
     "Solstice-Tools-Server geholt …|Ablage: ~/models|[Zurück]|[Im Finder zeigen]|[Alle geladen] "
     "(off)", "AI models|Loading the list …|Fetching the list from the Solstice Tools server …|"
     "Stored in: ~/models|[Back]|[Show in Finder]|[All downloaded] (off)"},
    {"models without a package, back", "no-package secondary is:models text is:missing", ""},
    {"launch on models, back", "ps:26.1 on-models is:models text is:idle", ""},
  });
  // clang-format on
}

}  // namespace
}  // namespace velko::test
