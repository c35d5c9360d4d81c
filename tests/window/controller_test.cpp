// The main screens' transitions and every text they show in both languages, as screens.rows says.
#include "tests/window/window_fixture.h"

TEST(WindowScreens, ButtonsTickAndLaunchLeadToScreensThatSayWhatHappened) {
  velko::test::playAll("screens.rows");
}
