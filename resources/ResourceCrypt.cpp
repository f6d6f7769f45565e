// Enciphers a resource document as the library reads it, or deciphers one for inspection, byte for
// byte either way:
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
    auto output = mode == "encrypt" ? helper.encrypt(input.str()) : helper.decryptBytes(input.str());
    if (!output) {
        std::fprintf(stderr, "resource_crypt: cannot %s %s\n", mode.c_str(), argv[2]);
        return 1;
    }
    std::ofstream out(argv[3], std::ios::binary | std::ios::trunc);
    if (!(out << *output)) {
        std::fprintf(stderr, "resource_crypt: cannot write %s\n", argv[3]);
        return 1;
    }
    return 0;
}
