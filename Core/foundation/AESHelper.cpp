#include "Core/foundation/AESHelper.h"

#include "Core/platform/Text.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <openssl/evp.h>

namespace core {
namespace {

const unsigned char key[] = "Marrowe504182736";
const unsigned char vector[] = "7305918264730591";

struct ContextFree {
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};

std::optional<std::string> run(const std::string& input, bool encrypting) {
    // The cipher counts in int, and the output holds one more block than the input.
    if (input.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()) - 32)
        return std::nullopt;
    std::unique_ptr<EVP_CIPHER_CTX, ContextFree> context(EVP_CIPHER_CTX_new());
    if (!context ||
        EVP_CipherInit_ex(context.get(), EVP_aes_128_cbc(), nullptr, key, vector, encrypting ? 1 : 0) != 1)
        return std::nullopt;
    std::string output(input.size() + 16, '\0');
    int written = 0, finished = 0;
    auto* out = reinterpret_cast<unsigned char*>(output.data());
    if (EVP_CipherUpdate(context.get(), out, &written, reinterpret_cast<const unsigned char*>(input.data()),
                         static_cast<int>(input.size())) != 1 ||
        EVP_CipherFinal_ex(context.get(), out + written, &finished) != 1)
        return std::nullopt;
    output.resize(static_cast<std::size_t>(written + finished));
    return output;
}

} // namespace

const AESHelper& AESHelper::shared() {
    static const AESHelper helper;
    return helper;
}

std::optional<std::string> AESHelper::decryptBytes(const std::string& data) const {
    // An empty input is no ciphertext: there is not even a padding block.
    if (data.empty() || data.size() % 16 != 0)
        return std::nullopt;
    return run(data, false);
}

std::optional<std::string> AESHelper::decrypt(const std::string& data) const {
    auto plain = decryptBytes(data);
    if (!plain || !isValidUtf8(*plain))
        return std::nullopt;
    plain->erase(std::remove(plain->begin(), plain->end(), '\0'), plain->end());
    return plain;
}

std::optional<std::string> AESHelper::encrypt(const std::string& bytes) const {
    return run(bytes, true);
}

} // namespace core
