// Files of cases kept as data: titled blocks of lines, each a word and the text after it.
#pragma once

#include <string>
#include <vector>

namespace velko::test {

struct ScenarioLine {
  int number = 0;  // in the file
  std::string verb, rest;
};

struct Scenario {
  std::string file, title;  // title: empty for the lines before the first title
  int number = 0;
  std::vector<ScenarioLine> lines;
};

// Reads `file`: "== title" opens a scenario; blank lines and lines starting with "#" are passed
// over; a line starting with a blank goes on with the text of the line before it; a text ending in
// "<<" takes the following lines up to one that is ">>", each ending in the escape "\n". Empty when
// the file cannot be read.
std::vector<Scenario> readScenarioFile(const std::string& file);

}  // namespace velko::test
