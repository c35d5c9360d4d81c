// Property list files for tests: XML written by hand, binary made from it with libplist or by hand.
#pragma once

#include <string>

namespace velko::test {

// A complete XML property list whose root element is `root`, e.g. "<dict>...</dict>".
std::string xmlPlist(const std::string& root);

// The binary form of the XML property list `xml`. Aborts the test run if `xml` does not parse.
std::string binaryPlist(const std::string& xml);

// A binary property list written byte by byte (the library would overflow its own stack making
// it): a dictionary with CFBundleShortVersionString = `version` and, under the key "x", `depth`
// arrays nested in each other. With `cycle` the innermost array refers back to the outermost.
std::string nestedBinaryPlist(const std::string& version, int depth, bool cycle = false);

}  // namespace velko::test
