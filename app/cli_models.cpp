// Prints the model road's facts one per line, in fixed English words, and maps results to exit
// codes. No progress output: the run is silent until its result line.
#include "app/cli_models.h"

#include <cstdio>

#include "app/exit_codes.h"
#include "app/globals.h"
#include "installer/model_area.h"

namespace velko::app {
namespace {

namespace inst = velko::installer;

const char* stateWord(inst::ModelRowState state) {
  switch (state) {
    case inst::ModelRowState::Missing:
      return "missing";
    case inst::ModelRowState::Partial:
      return "partial";
    case inst::ModelRowState::Installed:
      return "installed";
    case inst::ModelRowState::Bundled:
      return "bundled";
  }
  return "missing";
}

int listModels(const inst::ModelArea& area) {
  // The title goes last, so blanks in it do no harm to a reader splitting at blanks.
  for (const inst::ModelRow& row : area.rows()) {
    std::printf("id=%s state=%s size=%llu license=%s update=%s title=%s\n", row.id.c_str(),
                stateWord(row.state), static_cast<unsigned long long>(row.sizeBytes),
                row.license.c_str(), row.updateAvailable ? "yes" : "no", row.title.c_str());
  }
  return kExitOk;
}

int failed(const std::string& message) {
  std::fprintf(stderr, "failed: %s\n", message.c_str());
  return kExitFailed;
}

int fetchModels(inst::ModelArea& area, const std::string& model) {
  if (model == "all") {
    const inst::BatchResult batch = area.fetchAll({}, {}, {});
    std::printf("loaded=%d failed=%d\n", batch.loaded, batch.failed);
    std::fflush(stdout);
    return batch.failed >= 1 ? failed(batch.firstError) : kExitOk;
  }
  // An empty or unknown id fails in the store like any model that is not listed.
  const velko::models::FetchResult result = area.fetch(model, {}, {});
  if (!result.ok) return failed(result.message);
  std::printf("loaded %s%s\n", model.c_str(), result.resumed ? " resumed" : "");
  return kExitOk;
}

int removeModel(inst::ModelArea& area, const std::string& model) {
  const std::string error = area.remove(model);
  if (!error.empty()) return failed(error);
  std::printf("removed %s\n", model.c_str());
  return kExitOk;
}

}  // namespace

int runModelCommand(const CommandLine& line) {
  inst::ModelArea area(gEnglish, gModelStoreOptions);
  area.loadCached();
  // The list is refreshed before the word is read, so an unknown word is refused only then.
  const std::string listMessage = area.refresh({});
  if (!area.store.hasList()) {
    std::fprintf(stderr, "%s\n", listMessage.c_str());
    return kExitNoModelList;
  }
  if (!listMessage.empty()) std::fprintf(stderr, "list-warning: %s\n", listMessage.c_str());
  if (line.cli == "models") return listModels(area);
  if (line.cli == "models-fetch") return fetchModels(area, line.model);
  if (line.cli == "models-remove") return removeModel(area, line.model);
  std::fprintf(stderr, "unknown --cli command: %s\n", line.cli.c_str());
  return kExitUnknownWord;
}

}  // namespace velko::app
