// Turns the enciphered resource files of the library (the rule document, the script document)
// back into text, and enciphers them for the resource authors. The key and vector are the same for
// all of them and are built in: AES-128 in CBC mode with PKCS#7 padding.
//
// The format carries no checksum: a damaged file is noticed when its padding is wrong or when what
// comes out is no text, and either is refused rather than read as an empty resource.
//
// Threading: stateless between calls; the shared instance may be used from any queue.
#pragma once

#include <optional>
#include <string>

namespace core {

class AESHelper {
public:
    static const AESHelper& shared();

    // The plain text with every NUL removed; absent when the bytes do not decipher (a length that
    // is no multiple of 16, a bad padding) or what they decipher to is no valid UTF-8.
    std::optional<std::string> decrypt(const std::string& data) const;
    // The plain bytes exactly as they were enciphered, whatever they are; absent when the bytes do
    // not decipher.
    std::optional<std::string> decryptBytes(const std::string& data) const;
    // The ciphertext of any bytes, as the resource files hold it; absent for an input too large
    // for the cipher to take in one piece.
    std::optional<std::string> encrypt(const std::string& bytes) const;
};

} // namespace core
