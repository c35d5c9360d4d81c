// Ed25519 keys and signatures through OpenSSL's EVP interface; every OpenSSL object is released by
// scope.
#include "tools/model_tool/ed25519_keys.h"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <memory>

#include "core/hex.h"
#include "models/model_list.h"

namespace velko::model_tool {
namespace {

struct KeyFree {
  void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
struct BioFree {
  void operator()(BIO* bio) const { BIO_free(bio); }
};
struct ContextFree {
  void operator()(EVP_PKEY_CTX* context) const { EVP_PKEY_CTX_free(context); }
};
struct DigestFree {
  void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};
using Key = std::unique_ptr<EVP_PKEY, KeyFree>;
using Bio = std::unique_ptr<BIO, BioFree>;

// OpenSSL's most recent error as text, for messages that should say more than "failed".
std::string lastOpenSslError(const char* fallback) {
  const unsigned long code = ERR_get_error();
  ERR_clear_error();
  if (code == 0) return fallback;
  char text[256];
  ERR_error_string_n(code, text, sizeof text);
  return text;
}

Bio memoryBio(const std::string& text) {
  return Bio(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
}

Key keyFromSeed(const PrivateSeed& seed) {
  return Key(EVP_PKEY_new_raw_private_key(EVP_PKEY_ED25519, nullptr, seed.data(), seed.size()));
}

SeedResult seedOf(const EVP_PKEY* key) {
  if (key == nullptr) return {std::nullopt, lastOpenSslError("no key")};
  if (EVP_PKEY_get_id(key) != EVP_PKEY_ED25519) return {std::nullopt, "not an Ed25519 key"};
  PrivateSeed seed{};
  size_t length = seed.size();
  if (EVP_PKEY_get_raw_private_key(key, seed.data(), &length) != 1 || length != seed.size()) {
    return {std::nullopt, lastOpenSslError("cannot read the private key")};
  }
  return {seed, ""};
}

std::optional<PublicKey> rawPublicKey(const EVP_PKEY* key) {
  if (key == nullptr || EVP_PKEY_get_id(key) != EVP_PKEY_ED25519) return std::nullopt;
  PublicKey publicKey{};
  size_t length = publicKey.size();
  if (EVP_PKEY_get_raw_public_key(key, publicKey.data(), &length) != 1 ||
      length != publicKey.size()) {
    return std::nullopt;
  }
  return publicKey;
}

}  // namespace

SeedResult generateSeed() {
  std::unique_ptr<EVP_PKEY_CTX, ContextFree> context(
      EVP_PKEY_CTX_new_id(EVP_PKEY_ED25519, nullptr));
  EVP_PKEY* generated = nullptr;
  if (!context || EVP_PKEY_keygen_init(context.get()) != 1 ||
      EVP_PKEY_keygen(context.get(), &generated) != 1) {
    return {std::nullopt, lastOpenSslError("key generation failed")};
  }
  return seedOf(Key(generated).get());
}

SeedResult seedFromPem(const std::string& pemText) {
  const Bio bio = memoryBio(pemText);
  // A null passphrase callback with an empty user string: an encrypted key fails instead of
  // prompting on the terminal.
  const Key key(PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, const_cast<char*>("")));
  if (!key) {
    return {std::nullopt,
            "no unencrypted PEM private key (" + lastOpenSslError("unreadable") + ")"};
  }
  return seedOf(key.get());
}

std::string pemFromSeed(const PrivateSeed& seed) {
  const Key key = keyFromSeed(seed);
  const Bio bio(BIO_new(BIO_s_mem()));
  if (!key || !bio ||
      PEM_write_bio_PrivateKey(bio.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr) != 1) {
    return std::string();
  }
  char* data = nullptr;
  const long length = BIO_get_mem_data(bio.get(), &data);
  return length > 0 ? std::string(data, static_cast<size_t>(length)) : std::string();
}

std::optional<PublicKey> publicKeyOf(const PrivateSeed& seed) {
  return rawPublicKey(keyFromSeed(seed).get());
}

std::optional<PublicKey> publicKeyFromPem(const std::string& pemText) {
  const Bio bio = memoryBio(pemText);
  const Key key(PEM_read_bio_PUBKEY(bio.get(), nullptr, nullptr, nullptr));
  ERR_clear_error();
  return rawPublicKey(key.get());
}

std::string signHex(const PrivateSeed& seed, std::string_view message) {
  const Key key = keyFromSeed(seed);
  std::unique_ptr<EVP_MD_CTX, DigestFree> context(EVP_MD_CTX_new());
  unsigned char signature[64];
  size_t length = sizeof signature;
  // Ed25519 hashes internally: one-shot DigestSign with no digest of its own.
  if (!key || !context ||
      EVP_DigestSignInit(context.get(), nullptr, nullptr, nullptr, key.get()) != 1 ||
      EVP_DigestSign(context.get(), signature, &length,
                     reinterpret_cast<const unsigned char*>(message.data()), message.size()) != 1 ||
      length != sizeof signature) {
    ERR_clear_error();
    return std::string();
  }
  return toHex(signature, length);
}

std::string signModelList(const PrivateSeed& seed, const std::string& listText) {
  std::string message(models::kSignedListPrefix);
  message += listText;
  const std::string signature = signHex(seed, message);
  return signature.empty() ? signature : signature + "\n";
}

std::string toHex(const unsigned char* bytes, size_t length) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string hex;
  hex.reserve(length * 2);
  for (size_t i = 0; i < length; ++i) {
    hex.push_back(kDigits[bytes[i] >> 4]);
    hex.push_back(kDigits[bytes[i] & 0x0f]);
  }
  return hex;
}

std::optional<PublicKey> publicKeyFromHex(std::string_view hex) {
  PublicKey key{};
  if (!core::decodeHex(hex, key)) return std::nullopt;
  return key;
}

}  // namespace velko::model_tool
