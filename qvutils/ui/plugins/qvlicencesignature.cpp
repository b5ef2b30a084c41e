#include "qvutils/ui/plugins/qvlicencesignature.h"

#include <sodium.h>

#include <algorithm>
#include <array>

#include "qvutils/common/platform/files.h"

namespace {

using PublicKey = std::array<unsigned char, crypto_sign_PUBLICKEYBYTES>;
using SecretKey = std::array<unsigned char, crypto_sign_SECRETKEYBYTES>;
using Signature = std::array<unsigned char, crypto_sign_BYTES>;

constexpr std::string_view blanks = " \t\r\n";
constexpr std::string_view word = "signature";

std::string_view trimmed(std::string_view text) {
    const std::size_t first = std::min(text.find_first_not_of(blanks), text.size());
    return text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

template <class Bytes>
std::string encode(const Bytes& bytes) {
    std::string text(sodium_base64_ENCODED_LEN(bytes.size(), sodium_base64_VARIANT_ORIGINAL), '\0');
    sodium_bin2base64(text.data(), text.size(), bytes.data(), bytes.size(),
                      sodium_base64_VARIANT_ORIGINAL);
    text.pop_back();  // the final NUL
    return text;
}

// False for anything but as many bytes.
template <class Bytes>
bool decode(std::string_view text, Bytes& bytes) {
    const std::string_view code = trimmed(text);
    std::size_t length = 0;
    const char* end = nullptr;
    return sodium_base642bin(bytes.data(), bytes.size(), code.data(), code.size(), nullptr, &length,
                             &end, sodium_base64_VARIANT_ORIGINAL) == 0 &&
           length == bytes.size() && end == code.data() + code.size();
}

// The bytes that are signed.
std::string signedText(std::string_view body) {
    if (body.substr(0, 3) == "\xEF\xBB\xBF") body.remove_prefix(3);
    std::string text(body);
    text.resize(qvplatform::translateLineEnds(text.data(), text.size()));
    return text;
}

const unsigned char* bytesOf(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

// The secret key is taken out of memory again.
class Secret {
public:
    explicit Secret(const std::string& text) : well_(decode(text, key)) {}
    ~Secret() { sodium_memzero(key.data(), key.size()); }
    Secret(const Secret&) = delete;
    Secret& operator=(const Secret&) = delete;
    explicit operator bool() const { return well_; }

    SecretKey key;

private:
    bool well_;
};

}  // namespace

qvLicenceText qvSplitLicence(std::string_view text) {
    const std::size_t end = text.find_last_not_of(blanks) + 1;
    const std::size_t begin = text.substr(0, end).rfind('\n') + 1;
    const std::string_view last = trimmed(text.substr(begin, end - begin));
    const bool isSigned = last.substr(0, word.size()) == word &&
                          (last.size() == word.size() || last[word.size()] == ' ');
    if (!isSigned) return {text, {}};
    return {text.substr(0, begin), last};
}

bool qvCheckLicenceSignature(const qvLicenceText& text, const std::string& key,
                             std::string& problem) {
    PublicKey publicKey;
    Signature signature;
    if (text.signature.empty()) {
        problem = "is not signed";
    } else if (sodium_init() < 0 || !decode(key, publicKey)) {
        problem = "cannot be checked: the program has no proper key for it";
    } else if (!decode(text.signature.substr(word.size()), signature)) {
        problem = "has a damaged signature";
    } else if (const std::string body = signedText(text.body);
               crypto_sign_verify_detached(signature.data(), bytesOf(body), body.size(),
                                           publicKey.data()) != 0) {
        problem = "was changed after it was signed, or signed with another key";
    }
    return problem.empty();
}

std::string qvSignLicence(std::string_view text, const std::string& secretKey) {
    const Secret secret(secretKey);
    if (sodium_init() < 0 || !secret) return "";
    std::string body(qvSplitLicence(text).body);
    if (!body.empty() && body.back() != '\n') body += '\n';
    const std::string bytes = signedText(body);
    Signature signature;
    crypto_sign_detached(signature.data(), nullptr, bytesOf(bytes), bytes.size(),
                         secret.key.data());
    return body + std::string(word) + ' ' + encode(signature) + '\n';
}

std::string qvMakeLicenceKey() {
    PublicKey publicKey;
    SecretKey secretKey;
    if (sodium_init() < 0 || crypto_sign_keypair(publicKey.data(), secretKey.data()) != 0)
        return "";
    std::string text = encode(secretKey);
    sodium_memzero(secretKey.data(), secretKey.size());
    return text;
}

std::string qvPublicLicenceKey(const std::string& secretKey) {
    const Secret secret(secretKey);
    PublicKey publicKey;
    if (!secret || crypto_sign_ed25519_sk_to_pk(publicKey.data(), secret.key.data()) != 0)
        return "";
    return encode(publicKey);
}
