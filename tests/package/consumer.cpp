// Links the installed library and uses it the way a host would. Given the folder the package
// installed its documents to, checks that the library reads its rules from there by default.
#include <Core/foundation/CaseInsensitiveString.h>
#include <Core/foundation/SizeString.h>
#include <Core/platform/SystemPaths.h>
#include <Core/rules/RuleManager.h>

#include <filesystem>
#include <iostream>

// The library leaves the layout of the standard containers to the program that uses it.
#ifdef _GLIBCXX_DEQUE_BUF_SIZE
#error "the installed package changes the layout of std::deque"
#endif

namespace {

bool readsInstalledRules(const std::filesystem::path& installedResources) {
    std::string folder = core::SystemPaths::shared().resourcesDirectory();
    std::error_code error;
    if (!std::filesystem::equivalent(folder, installedResources, error)) {
        std::cerr << "resources are read from " << folder << ", not from " << installedResources << '\n';
        return false;
    }
    auto loaded =
        core::RuleManager::fromEncryptedFile(folder + "/ruleInfo.txt", core::RuleManager::currentRoots());
    if (!loaded.manager || loaded.manager->rules.empty()) {
        std::cerr << "the installed rule document does not load: " << loaded.error << '\n';
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: consumer INSTALLED_RESOURCES_FOLDER\n";
        return 2;
    }
    bool equal =
        core::CaseInsensitiveString("Com.Example.App") == core::CaseInsensitiveString("com.example.app");
    bool sized = core::sizeString(1500) == "1.5 kB";
    return equal && sized && readsInstalledRules(argv[1]) ? 0 : 1;
}
