// The window's look: the screens' pictures and the buttons' states (pictures.rows), the fonts.
#include "tests/window/window_fixture.h"

TEST(WindowPictures, TheProgramDrawsEveryScreenAndButtonsTheirStates) {
  velko::test::playAll("pictures.rows");
}

TEST(WindowFonts, ChainsFallBackWithoutSynthesisingBold) {
  velko::test::playAll("fonts.rows");
}
