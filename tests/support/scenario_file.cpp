// Reads files of cases kept as data into titled blocks of lines.
#include "tests/support/scenario_file.h"

#include <fstream>

namespace velko::test {

std::vector<Scenario> readScenarioFile(const std::string& file) {
  std::ifstream in(file);
  std::vector<Scenario> all;
  std::string text;
  for (int number = 1; std::getline(in, text); ++number) {
    if (text.empty() || text[0] == '#') continue;
    if (text.starts_with("== ")) {
      all.push_back({file, text.substr(3), number, {}});
      continue;
    }
    if (text[0] == ' ' && !all.empty() && !all.back().lines.empty()) {
      all.back().lines.back().rest += text.substr(text.find_first_not_of(' '));
      continue;
    }
    const size_t space = text.find(' ');
    ScenarioLine line{number, text.substr(0, space),
                      space == std::string::npos ? "" : text.substr(space + 1)};
    if (line.rest.ends_with("<<")) {
      line.rest.erase(line.rest.size() - 2);
      for (std::string more; std::getline(in, more) && more != ">>"; ++number)
        line.rest += more + "\\n";
      ++number;
    }
    if (all.empty()) all.push_back({file, "", number, {}});
    all.back().lines.push_back(line);
  }
  return all;
}

}  // namespace velko::test
