// The models screen against the loopback model server and a real model folder: models_screen.rows.
#include "tests/window/window_fixture.h"

TEST(ModelsScreen, RowsWorkAndSayWhatHappened) {
  velko::test::playAll("models_screen.rows");
}
