// Turns the enciphered resource files of the library (the rule document, the script document)
// back into text, and enciphers them for the resource authors. The key and vector are the same for
// all of them and are built in: AES-128 in CBC mode with PKCS#7 padding.
//
// Threading: stateless between calls; the shared instance may be used from any queue.
#pragma once

#include <optional>
#include <string>

namespace core {

class AESHelper {
public:
    static const AESHelper& shared();

    // The plain text with every NUL removed; empty when it is no valid UTF-8; absent when the
    // bytes do not decipher (a length that is no multiple of 16, a bad padding).
    std::optional<std::string> decrypt(const std::string& data) const;
    // The ciphertext of a text, as the resource files hold it.
    std::string encrypt(const std::string& text) const;
};

} // namespace core
