// Whole-list behaviour of the model list check: signature first, the cut of the signature text,
// the four refusals in both languages, `format` conversion, and the directory of the list address.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cctype>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "core/message_language.h"
#include "models/model_list.h"
#include "tests/models/list_signing.h"

namespace velko::models {
namespace {

using test::signatureFor;
using test::testPublicKey;
using test::verifySigned;

const std::string kEntry =
    R"({"id":"depth","kind":"coreml","package":"depth.mlmodelc","file":"depth.zip","size":10,)"
    R"("sha256":"0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef"})";
const std::string kList = R"({"format":1,"issued":"2001-01-01","models":[)" + kEntry + "]}";

struct Message {
  const char* german;
  const char* english;
};
const Message kSignatureMessage{
    "Modell-Liste: Signatur ungültig \u2013 die Liste wird nicht verwendet.",
    "Model list: invalid signature \u2013 the list is not used."};
const Message kJsonMessage{"Modell-Liste: kein gültiges JSON.", "Model list: not valid JSON."};
const Message kMissingMessage{"Modell-Liste: Feld \"models\" fehlt.",
                              "Model list: field \"models\" is missing."};
const Message kNewerMessage{"Die Modell-Liste braucht eine neuere Version von Solstice Velko.",
                            "The model list requires a newer version of Solstice Velko."};

class ModelListTest : public ::testing::Test {
 protected:
  void TearDown() override { core::setMessageLocale(core::MessageLocale::German); }

  // Checks that `verify` refuses with `message` in each language, built at the time of the call.
  template <typename Verify>
  void expectRefusal(const Verify& verify, const Message& message) {
    for (const auto locale : {core::MessageLocale::German, core::MessageLocale::English}) {
      core::setMessageLocale(locale);
      const ListResult result = verify();
      EXPECT_FALSE(result.ok);
      EXPECT_EQ(result.error,
                locale == core::MessageLocale::English ? message.english : message.german);
      EXPECT_EQ(result.list.format, 0);
      EXPECT_TRUE(result.list.models.empty());
      EXPECT_TRUE(result.list.issued.empty());
    }
  }
};

TEST_F(ModelListTest, AcceptsACorrectlySignedListOfAnyAge) {
  const ListResult result = verifySigned(kList);
  ASSERT_TRUE(result.ok) << result.error;
  EXPECT_TRUE(result.error.empty());
  EXPECT_EQ(result.list.format, 1);
  EXPECT_EQ(result.list.issued, "2001-01-01");
  ASSERT_EQ(result.list.models.size(), 1u);
  EXPECT_EQ(result.list.models[0].url, "https://example.test/m/depth.zip");

  // `issued` is lax text; unknown keys at the top are ignored.
  const ListResult lax = verifySigned(R"({"format":1,"issued":20311224,"later":{},"models":[]})");
  ASSERT_TRUE(lax.ok) << lax.error;
  EXPECT_EQ(lax.list.issued, "");
}

TEST_F(ModelListTest, SignatureTextIsCutOnlyAtTrailingBlanksAndLineEnds) {
  const std::string sig = signatureFor(kList);
  std::string upper = sig;
  for (char& c : upper)
    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  struct Case {
    std::string signature;
    bool accepted;
  };
  const std::vector<Case> cases = {
      {sig, true},
      {sig + "\n", true},
      {sig + "\r\n", true},
      {sig + "  \n\r \r\n\n  ", true},
      {upper + "\n", true},
      {sig + "\t", false},
      {sig + "\n\t", false},
      {sig + "\f", false},
      {sig + std::string(1, '\0'), false},
      {" " + sig, false},
      {"\n" + sig, false},
      {sig.substr(0, 127), false},
      {"", false},
      {"\n", false},
  };
  for (const Case& c : cases) {
    const ListResult result = verifyModelList(kList, c.signature, testPublicKey(), "");
    EXPECT_EQ(result.ok, c.accepted) << "signature text: \"" << c.signature << "\"";
  }
}

TEST_F(ModelListTest, SignatureCoversPrefixAndExactListBytes) {
  const auto otherKey = model_tool::publicKeyOf(model_tool::PrivateSeed{42}).value();
  const std::string unprefixed = model_tool::signHex(test::testSeed(), kList);
  const std::string noLineFeed = model_tool::signHex(test::testSeed(), "VELKO-MODELS-V1" + kList);
  const std::vector<std::function<ListResult()>> forgeries = {
      [&] { return verifyModelList(kList + "\n", signatureFor(kList), testPublicKey(), ""); },
      [&] { return verifyModelList(" " + kList, signatureFor(kList), testPublicKey(), ""); },
      [&] { return verifyModelList(kList, unprefixed, testPublicKey(), ""); },
      [&] { return verifyModelList(kList, noLineFeed, testPublicKey(), ""); },
      [&] { return verifyModelList(kList, signatureFor(kList), otherKey, ""); },
  };
  for (const auto& forgery : forgeries)
    expectRefusal(forgery, kSignatureMessage);
}

TEST_F(ModelListTest, SignatureIsCheckedBeforeTheTextIsRead) {
  const std::string garbage = "not json at all {";
  expectRefusal([&] { return verifyModelList(garbage, signatureFor(kList), testPublicKey(), ""); },
                kSignatureMessage);
  expectRefusal([&] { return verifySigned(garbage); }, kJsonMessage);
  // An empty list is signed over the prefix alone; it passes the signature and fails as JSON.
  expectRefusal([&] { return verifySigned(""); }, kJsonMessage);
}

TEST_F(ModelListTest, RefusesWholeListsWithTheirMessage) {
  struct Case {
    std::string listText;
    const Message* message;
  };
  const std::vector<Case> cases = {
      {"{", &kJsonMessage},
      {kList + " x", &kJsonMessage},
      {kList + kList, &kJsonMessage},
      {"// comment\n" + kList, &kJsonMessage},
      {R"({"format":1,"models":[] /* c */})", &kJsonMessage},
      {"[]", &kMissingMessage},
      {R"("models")", &kMissingMessage},
      {"null", &kMissingMessage},
      {R"({"format":1})", &kMissingMessage},
      {R"({"format":1,"models":{}})", &kMissingMessage},
      {R"({"format":1,"models":null})", &kMissingMessage},
      {R"({"format":1,"Models":[]})", &kMissingMessage},
      // The missing field is reported before the format.
      {R"({"format":2})", &kMissingMessage},
      {R"({"format":2,"models":[)" + kEntry + "]}", &kNewerMessage},
      {R"({"models":[)" + kEntry + "]}", &kNewerMessage},
      {R"({"format":0,"models":[]})", &kNewerMessage},
      {R"({"format":-1,"models":[]})", &kNewerMessage},
      {R"({"format":0.99,"models":[]})", &kNewerMessage},
      {R"({"format":false,"models":[]})", &kNewerMessage},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.listText);
    expectRefusal([&] { return verifySigned(c.listText); }, *c.message);
  }
}

TEST_F(ModelListTest, FormatConvertsLikeTheJsonLibraryToInt32) {
  // Fractions cut towards zero, wide integers keep their low 32 bits, true is 1.
  for (const char* format : {"1", "1.0", "1.5", "true", "4294967297", "1e0"}) {
    const ListResult result =
        verifySigned(std::string(R"({"format":)") + format + R"(,"models":[]})");
    EXPECT_TRUE(result.ok) << format << ": " << result.error;
    EXPECT_EQ(result.list.format, 1) << format;
  }
}

TEST_F(ModelListTest, NonNumericFormatRaisesTheJsonTypeErrorUncaught) {
  for (const char* format : {R"("1")", "null", "[1]", R"({"v":1})"}) {
    const std::string listText =
        std::string(R"({"format":)") + format + R"(,"models":[)" + kEntry + "]}";
    EXPECT_THROW(verifySigned(listText), nlohmann::json::type_error) << format;
  }
}

TEST_F(ModelListTest, EmptyOrFullyDroppedListsAreValidWithoutRows) {
  for (const std::string& models : {std::string("[]"), std::string(R"([1,"x",null,{},[]])")}) {
    const ListResult result = verifySigned(R"({"format":1,"models":)" + models + "}");
    EXPECT_TRUE(result.ok) << models;
    EXPECT_TRUE(result.error.empty());
    EXPECT_EQ(result.list.format, 1);
    EXPECT_TRUE(result.list.models.empty());
  }
}

TEST(UrlDirectoryTest, KeepsThePathUpToTheLastSlash) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"https://example.test/a/models.json?v=2#x", "https://example.test/a/"},
      {"https://example.test/a/b/", "https://example.test/a/b/"},
      {"https://example.test/", "https://example.test/"},
      {"https://example.test", ""},
      {"https://example.test?x=/y", ""},
      {"https://example.test/m/x.json#frag/ment", "https://example.test/m/"},
      {"http://localhost:8080/models.json", "http://localhost:8080/"},
      {"a/b.json", "a/"},
      {"models.json", ""},
      {"", ""},
      {"file:///srv/m/models.json", "file:///srv/m/"},
  };
  for (const auto& [url, directory] : cases)
    EXPECT_EQ(urlDirectory(url), directory) << url;
}

}  // namespace
}  // namespace velko::models
