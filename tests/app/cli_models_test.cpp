// The real executable on the model road against a loopback model server: every line, stream and
// exit code, the store's messages in both languages, and the model lock across processes.
#include <sys/wait.h>

#include <chrono>
#include <thread>

#include "tests/app/cli_fixture.h"
#include "tests/support/model_server.h"
#include "tests/support/nginx_server.h"

namespace velko::test {
namespace {

using json = nlohmann::json;

const std::string kBytes(100, 'm');

class CliModelsTest : public CliTest {
 protected:
  void SetUp() override {
    if (!VELKO_LIST_KEY_IS_DEVELOPMENT_KEY) {
      GTEST_SKIP() << "the executable trusts another key than the development key";
    }
  }

  fs::path models() const { return dir_ / "models"; }
  Env serverEnv() const { return {{"VELKO_MODEL_LIST_URL", server_.listUrl()}}; }
  ProcessResult runModels(std::vector<std::string> args, const std::string& lang = "en") const {
    args.insert(args.end(), {"--lang", lang});
    return run(args, serverEnv());
  }

  // Runs `args` in German and in English: exit code 1, nothing on stdout, the message on stderr.
  void expectFailure(const std::vector<std::string>& args, const std::string& german,
                     const std::string& english, const Env& extra = {}) const {
    for (const bool en : {false, true}) {
      SCOPED_TRACE(args.back() + (en ? " en" : " de"));
      std::vector<std::string> line = args;
      line.insert(line.end(), {"--lang", en ? "en" : "de"});
      Env env = serverEnv();
      env.insert(extra.begin(), extra.end());
      const ProcessResult r = run(line, env);
      EXPECT_EQ(r.exitCode, 1);
      EXPECT_EQ(r.out, "");
      EXPECT_EQ(r.err, "failed: " + (en ? english : german) + "\n");
    }
  }

  // An address where nothing listens: the port of a server that has gone.
  static std::string closedAddress(const std::string& path) {
    HttpTestServer gone;
    return gone.url(path);
  }

  ModelServer server_;
};

TEST_F(CliModelsTest, ListsRowsAndFallsBackToTheCacheOffline) {
  json licenseless = fileModel("b", kBytes);
  licenseless["license"] = "";
  licenseless["title_en"] = "";
  licenseless["title_de"] = "Zwei Wörter";
  server_.publish({fileModel("a", kBytes), licenseless}, {kBytes, kBytes});
  writeFile(models() / "a.bin", kBytes);
  writeFile(models() / ".installed" / "a.json", R"({"sha256":"old","version":"0.9"})");
  // Only the title follows the language; a missing one falls back to the other language's.
  const auto rows = [](const std::string& titleA) {
    return "id=a state=installed size=100 license=MIT update=yes title=" + titleA +
           "\nid=b state=missing size=100 license= update=no title=Zwei Wörter\n";
  };

  // Before any list was cached, offline is the end: no warning, code 2, libcurl's text inside.
  const ProcessResult noCache = run({"--cli", "models", "--lang", "de"});
  EXPECT_EQ(noCache.exitCode, 2);
  EXPECT_EQ(noCache.out, "");
  EXPECT_EQ(noCache.err, "Modell-Liste nicht erreichbar (Couldn't connect to server).\n");

  const ProcessResult online = runModels({"--cli", "models"}, "de");
  EXPECT_EQ(online.exitCode, 0) << online.err;
  EXPECT_EQ(online.out, rows("Titel a")) << "the fixed words stay English";
  EXPECT_EQ(online.err, "");

  const ProcessResult offline = run({"--cli", "models", "--lang", "en"});
  EXPECT_EQ(offline.exitCode, 0);
  EXPECT_EQ(offline.out, rows("Title a"));
  EXPECT_EQ(offline.err, "list-warning: Model list not reachable (Couldn't connect to server).\n");

  // The refresh comes before the word is read: an unknown word with a list is 64, without 2.
  const ProcessResult unknown = runModels({"--cli", "models-fetch-all"});
  EXPECT_EQ(unknown.exitCode, 64);
  EXPECT_EQ(unknown.err, "unknown --cli command: models-fetch-all\n");
  fs::remove_all(models());
  EXPECT_EQ(run({"--cli", "modelsx"}).exitCode, 2);
}

// Every failure message of the store as the command line prints it, in German and English, with
// its exit code. Each model of the list fails in its own way.
TEST_F(CliModelsTest, FailureMessagesInBothLanguages) {
  json tooNew = fileModel("new", kBytes);
  tooNew["min_velko"] = "9.0";
  json huge = fileModel("huge", kBytes);
  huge["size"] = 1500000000000000ULL;
  json offline = fileModel("off", kBytes);
  offline["file"] = closedAddress("/off.bin");
  server_.publish({tooNew, huge, offline, fileModel("e500", kBytes), fileModel("cut", kBytes),
                   fileModel("over", kBytes), fileModel("range", kBytes), fileModel("bad", kBytes),
                   coremlModel("zip", "no zip")},
                  {kBytes, kBytes, kBytes, kBytes, kBytes, kBytes, kBytes, "x", "no zip"});
  server_.http.route("/m/e500.bin", {HttpMode::Status, "", 0, 500});
  server_.http.route("/m/cut.bin", {HttpMode::CloseAfter, kBytes, 10});
  server_.http.route("/m/over.bin", {HttpMode::Oversend, kBytes, 5});
  server_.http.route("/m/range.bin", {HttpMode::NotSatisfiable, kBytes});
  server_.http.serve("/m/bad.bin", std::string(100, 'b'));
  const std::string noFolder = (dir_ / "file" / "models").string();
  writeFile(dir_ / "file", "");

  const struct {
    const char* model;  // empty: no --model at all
    const char* german;
    const char* english;
  } fetches[] = {
      {"", "Modell „“ steht nicht in der Modell-Liste.", "Model \"\" is not in the model list."},
      {"new", "Dieses Modell braucht Solstice Velko 9.0 oder neuer.",
       "This model needs Solstice Velko 9.0 or newer."},
      {"huge", "Nicht genug freier Speicher für Titel huge (1500000 GB).",
       "Not enough free disk space for Title huge (1500000 GB)."},
      {"off", "Keine Verbindung zum Modell-Server (Couldn't connect to server).",
       "No connection to the model server (Couldn't connect to server)."},
      {"e500", "Modell-Server antwortet mit HTTP 500.", "Model server answered HTTP 500."},
      {"cut", "Download unterbrochen – „Laden“ setzt ihn fort.",
       "Download interrupted – \"Download\" resumes it."},
      {"over", "Die geladene Datei ist größer als angekündigt – verworfen.",
       "The downloaded file is larger than announced – discarded."},
      {"range", "Die geladene Datei hat nicht die angekündigte Größe – verworfen.",
       "The downloaded file does not have the announced size – discarded."},
      {"bad", "Die geladene Datei ist beschädigt (Prüfsumme stimmt nicht) – verworfen.",
       "The downloaded file is damaged (checksum mismatch) – discarded."},
      {"zip", "Modell-Paket ließ sich nicht entpacken.",
       "The model package could not be unpacked."},
  };
  for (const auto& row : fetches) {
    std::vector<std::string> args = {"--cli", "models-fetch"};
    if (*row.model != '\0') args.insert(args.end(), {"--model", row.model});
    expectFailure(args, row.german, row.english);
  }
  expectFailure({"--cli", "models-fetch", "--model", "bad"},
                "Modell-Ordner nicht anlegbar: " + noFolder,
                "Cannot create the model folder: " + noFolder, {{"VELKO_MODEL_STORE", noFolder}});
  // The version and free-space refusals come before a single byte is asked for.
  for (const RecordedRequest& r : server_.http.requests()) {
    EXPECT_NE(r.path, "/m/huge.bin");
    EXPECT_NE(r.path, "/m/new.bin");
  }
  // A model fetched from an absolute address keeps its empty part inside the model folder.
  EXPECT_TRUE(fs::is_regular_file(models() / ".downloads" / "off.bin.part"));
}

TEST_F(CliModelsTest, FetchResumeRemoveAndBatchLines) {
  // Needing exactly this application's version still counts as compatible, so "a" is due.
  json a = fileModel("a", kBytes);
  a["min_velko"] = "1.0.0";
  server_.publish({a, fileModel("b", kBytes), fileModel("c", kBytes)}, {kBytes, kBytes, kBytes});
  server_.http.route("/m/b.bin", {HttpMode::CloseAfter, kBytes, 40});
  server_.http.serve("/m/c.bin", std::string(100, 'x'));

  // "all" fetches what is due: a loads, b is cut, c is damaged; the first message is the one
  // shown. A single model's line is proved by the lock test, its resume by the nginx test.
  const ProcessResult batch = runModels({"--cli", "models-fetch", "--model", "all"});
  EXPECT_EQ(batch.exitCode, 1);
  EXPECT_EQ(batch.out, "loaded=1 failed=2\n");
  EXPECT_EQ(batch.err, "failed: Download interrupted – \"Download\" resumes it.\n");
  EXPECT_EQ(readFile(models() / "a.bin"), kBytes);

  server_.http.serve("/m/b.bin", kBytes);
  server_.http.serve("/m/c.bin", kBytes);
  EXPECT_EQ(runModels({"--cli", "models-fetch", "--model", "all"}).out, "loaded=2 failed=0\n");
  const ProcessResult nothingDue = runModels({"--cli", "models-fetch", "--model", "all"});
  EXPECT_EQ(nothingDue.exitCode, 0);
  EXPECT_EQ(nothingDue.out, "loaded=0 failed=0\n");

  const ProcessResult removed = runModels({"--cli", "models-remove", "--model", "a"});
  EXPECT_EQ(removed.exitCode, 0);
  EXPECT_EQ(removed.out, "removed a\n");
  EXPECT_EQ(removed.err, "");
  EXPECT_FALSE(fs::exists(models() / "a.bin"));
}

// A download in another process holds the model's lock: the same model is refused at once, for
// fetch and remove, while another model goes ahead.
TEST_F(CliModelsTest, ModelLockHoldsAcrossProcesses) {
  const std::string slowBytes(60, 's');
  server_.publish({fileModel("slow", slowBytes), fileModel("a", kBytes)}, {slowBytes, kBytes});
  server_.http.route("/m/slow.bin", {HttpMode::Trickle, slowBytes, 5});
  Env env = serverEnv();
  const pid_t first =
      startProcess({VELKO_INSTALLER_EXE, "--cli", "models-fetch", "--model", "slow"}, env);
  // Wait until the first process is in its transfer, so it holds the lock.
  const auto asked = [&] {
    for (const RecordedRequest& r : server_.http.requests()) {
      if (r.path == "/m/slow.bin") return true;
    }
    return false;
  };
  for (int i = 0; i < 3000 && !asked(); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  ASSERT_TRUE(asked());

  expectFailure({"--cli", "models-fetch", "--model", "slow"},
                "Dieses Modell wird gerade schon geladen.",
                "This model is already being downloaded.");
  expectFailure({"--cli", "models-remove", "--model", "slow"}, "Dieses Modell wird gerade geladen.",
                "This model is being downloaded right now.");
  const ProcessResult other = runModels({"--cli", "models-fetch", "--model", "a"});
  EXPECT_EQ(other.exitCode, 0);
  EXPECT_EQ(other.out, "loaded a\n") << other.err;
  int status = 0;
  EXPECT_EQ(waitpid(first, &status, WNOHANG), 0) << "the first download must still be running";

  ASSERT_EQ(waitpid(first, &status, 0), first);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_EQ(readFile(models() / "slow.bin"), slowBytes) << "the first download went on undisturbed";
}

// The store against Debian's nginx, whose 206 and 416 answers are its own: a cut download resumed,
// and a resume the server refuses because its file got shorter.
TEST_F(CliModelsTest, ResumesFromRealNginx) {
  TempDir root;
  std::string fileBytes;
  for (int i = 0; fileBytes.size() < 300000; ++i)
    fileBytes += std::to_string(i) + ",";
  writeFile(root / "a.bin", fileBytes);
  const SignedList list = signedList({fileModel("a", fileBytes)});
  writeFile(root / "models.json", list.text);
  writeFile(root / "models.json.sig", list.signature);
  NginxServer nginx(root.path());
  const Env env{{"VELKO_MODEL_LIST_URL", nginx.url("/models.json")}};

  // A download cut at 100000 bytes goes on from there with nginx's 206.
  const fs::path part = models() / ".downloads" / "a.bin.part";
  writeFile(part, fileBytes.substr(0, 100000));
  const ProcessResult resumed = run({"--cli", "models-fetch", "--model", "a"}, env);
  EXPECT_EQ(resumed.out, "loaded a resumed\n") << resumed.err;
  EXPECT_EQ(readFile(models() / "a.bin"), fileBytes);

  // The server's file is now shorter than the part: nginx answers 416, the part is dropped and
  // the file is fetched from its start, which ends early. Once the file is whole again, the next
  // run resumes on the fresh bytes, so nothing of the dropped part survived.
  writeFile(part, std::string(200000, 'x'));
  writeFile(root / "a.bin", fileBytes.substr(0, 150000));
  const ProcessResult refused = run({"--cli", "models-fetch", "--model", "a"}, env);
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_EQ(refused.err, "failed: Download interrupted – \"Download\" resumes it.\n");
  EXPECT_EQ(readFile(part), fileBytes.substr(0, 150000));
  writeFile(root / "a.bin", fileBytes);
  const ProcessResult recovered = run({"--cli", "models-fetch", "--model", "a"}, env);
  EXPECT_EQ(recovered.out, "loaded a resumed\n") << recovered.err;
  EXPECT_EQ(readFile(models() / "a.bin"), fileBytes);
}

}  // namespace
}  // namespace velko::test
