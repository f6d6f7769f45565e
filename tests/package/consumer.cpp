// Links the installed library and uses it the way a host would.
#include <Core/foundation/CaseInsensitiveString.h>
#include <Core/foundation/SizeString.h>

#include <iostream>

int main() {
    bool equal =
        core::CaseInsensitiveString("Com.Example.App") == core::CaseInsensitiveString("com.example.app");
    std::cout << core::sizeString(1500) << '\n';
    return equal && core::sizeString(1500) == "1.5 kB" ? 0 : 1;
}
