// Enciphers a resource document as the library reads it, or deciphers one for inspection:
//   resource_crypt encrypt|decrypt IN OUT
#include "Core/foundation/AESHelper.h"

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

int main(int argc, char** argv) {
    std::string mode = argc == 4 ? argv[1] : "";
    if (mode != "encrypt" && mode != "decrypt") {
        std::fprintf(stderr, "usage: resource_crypt encrypt|decrypt IN OUT\n");
        return 2;
    }
    std::ifstream in(argv[2], std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "resource_crypt: cannot read %s\n", argv[2]);
        return 1;
    }
    std::stringstream input;
    input << in.rdbuf();
    const auto& helper = core::AESHelper::shared();
    auto output = mode == "encrypt" ? std::optional<std::string>(helper.encrypt(input.str()))
                                    : helper.decrypt(input.str());
    if (!output) {
        std::fprintf(stderr, "resource_crypt: %s does not decipher\n", argv[2]);
        return 1;
    }
    std::ofstream(argv[3], std::ios::binary) << *output;
    return 0;
}
