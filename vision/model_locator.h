// Finds a model package by name in the places a model can lie: store, application, developer tree.
#pragma once

#include <string>

namespace velko::vision {

struct ModelSearchResult {
  std::string path;    // full path of the folder found; empty when nothing was found
  std::string source;  // label of the place ("VELKO_MODEL_DIR", "store", "bundle", "dev",
                       // "application-support", "installed-app"); empty when nothing was found
};

// Where the model `name` (with or without ".mlmodelc" / ".mlpackage") lies: the first place that
// holds a folder "<base>.mlmodelc" or "<base>.mlpackage". Both fields empty when none does.
ModelSearchResult findModelPackage(const std::string& name);

}  // namespace velko::vision
