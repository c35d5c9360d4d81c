// Arithmetic modulo the group order L = 2^252 + 27742317777372353535851937790883648493.
#pragma once

namespace velko::core {

// Reads s[0..63] as a little-endian number and writes it modulo L to s[0..31]; s[32..63] are
// left unspecified. Cannot fail.
void sc_reduce(unsigned char* s);

}  // namespace velko::core
