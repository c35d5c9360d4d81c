// Storage of the process-wide values and their values at start.
#include "app/globals.h"

namespace velko::app {

bool gEnglish = false;
bool gOpenModels = false;
double gShotDelay = 0.7;
velko::models::ModelStore::Options gModelStoreOptions;

}  // namespace velko::app
