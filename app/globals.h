// Process-wide values that main writes once, before either front end starts, and others only read.
#pragma once

#include "models/model_store.h"

namespace velko::app {

extern bool gEnglish;      // language of the window and the command line's two refusals
extern bool gOpenModels;   // --models: open the window on its models screen
extern double gShotDelay;  // --shot-delay: seconds before the models screen's picture
// Every ModelArea is built from a copy. Nothing writes it, so the store fills in all defaults.
extern velko::models::ModelStore::Options gModelStoreOptions;

}  // namespace velko::app
