#include "Core/rules/AppGroupManager.h"

#include "Core/platform/FileInfo.h"
#include "Core/platform/SystemPaths.h"

#include <array>
#include <yaml-cpp/yaml.h>

namespace core {
namespace {

constexpr std::array<const char*, 18> venderNames = {
    "Adobe",  "Apple", "Box",         "CleverFiles", "Corel",     "DEVONthink", "Marrowe",
    "DYMO",   "Epson", "Google",      "Intego",      "JetBrains", "Microsoft",  "Objective Development",
    "Skylum", "Wacom", "Wondershare", "Other"};

constexpr std::array<const char*, 17> groupNames = {
    "",      "CleverFiles", "Creative Cloud",   "Flash Player",
    "Box",   "Corel",       "DEVONthink",       "DYMO",
    "Epson", "Intego",      "Microsoft Office", "Skylum",
    "Wacom", "Dr.Fone",     "Bitdefender",      "Anaconda-Navigator",
    "Sophos"};

struct DecodableGroup {
    std::optional<std::string> domain;
    std::optional<std::string> name;
    std::optional<std::vector<std::string>> ids;
};

std::string lowered(const std::string& text) {
    return CaseInsensitiveString(text).lowercaseString();
}

// Throws YAML::Exception for anything that is not a mapping of entries.
std::vector<DecodableGroup> decode(const std::string& text) {
    std::vector<DecodableGroup> entries;
    YAML::Node document = YAML::Load(text);
    if (document.IsNull())
        return entries;
    if (!document.IsMap())
        throw YAML::Exception(YAML::Mark::null_mark(), "the document is not a mapping of entries");
    for (const auto& entry : document) {
        const auto& body = entry.second;
        DecodableGroup group;
        if (body["domain"])
            group.domain = body["domain"].as<std::string>();
        if (body["name"])
            group.name = body["name"].as<std::string>();
        if (body["ids"])
            group.ids = body["ids"].as<std::vector<std::string>>();
        entries.push_back(std::move(group));
    }
    return entries;
}

std::unordered_set<std::string> loweredIDs(const std::vector<std::string>& ids) {
    std::unordered_set<std::string> set;
    for (const auto& id : ids)
        set.insert(lowered(id));
    return set;
}

} // namespace

const char* rawName(AppVender vender) {
    return venderNames[static_cast<std::size_t>(vender)];
}

AppGroup AppGroup::named(const std::string& groupName) {
    AppGroup group;
    for (std::size_t index = 1; index < groupNames.size(); ++index)
        if (groupName == groupNames[index]) {
            group.case_ = static_cast<Case>(index);
            return group;
        }
    group.otherName_ = groupName;
    return group;
}

std::string AppGroup::groupName() const {
    return case_ == Case::other ? otherName_ : groupNames[static_cast<std::size_t>(case_)];
}

std::string domainOfBundleID(const std::string& lowercasedID) {
    auto first = lowercasedID.find('.');
    if (first == std::string::npos)
        return lowercasedID;
    auto second = lowercasedID.find('.', first + 1);
    std::string organisation =
        lowercasedID.substr(first + 1, second == std::string::npos ? std::string::npos : second - first - 1);
    return organisation + "." + lowercasedID.substr(0, first);
}

AppGroupManager::LoadResult AppGroupManager::fromDocuments(const std::string& vendorYaml,
                                                           const std::string& groupYaml) {
    std::shared_ptr<AppGroupManager> created(new AppGroupManager());
    auto& manager = *created;
    try {
        for (const auto& entry : decode(vendorYaml)) {
            if (!entry.name || !entry.ids)
                continue;
            for (std::size_t index = 0; index < venderNames.size(); ++index) {
                if (*entry.name != venderNames[index])
                    continue;
                auto vender = static_cast<AppVender>(index);
                manager.appVenderIDDict_[vender].merge(loweredIDs(*entry.ids));
                if (entry.domain)
                    manager.venderDomainDict_[lowered(*entry.domain)] = vender;
            }
        }
        for (const auto& entry : decode(groupYaml))
            if (entry.name && entry.ids)
                manager.appGroupsIDDict_.emplace_back(AppGroup::named(*entry.name), loweredIDs(*entry.ids));
    } catch (const YAML::Exception& error) {
        return {nullptr, std::string("the vendor or group document is not valid: ") + error.what()};
    }
    return {std::move(created), {}};
}

AppGroupManager::LoadResult AppGroupManager::fromFolder(const std::string& folder) {
    std::array<std::string, 2> texts;
    std::array<const char*, 2> names = {"app_vender.yaml", "app_group.yaml"};
    for (std::size_t index = 0; index < names.size(); ++index) {
        auto path = folder + "/" + names[index];
        auto text = readFileContents(path);
        if (!text)
            return {nullptr, "cannot read the document " + path};
        texts[index] = std::move(*text);
    }
    return fromDocuments(texts[0], texts[1]);
}

const AppGroupManager::LoadResult& AppGroupManager::sharedLoad() {
    static const LoadResult loaded = fromFolder(SystemPaths::shared().resourcesDirectory());
    return loaded;
}

const AppGroupManager& AppGroupManager::shared() {
    static const AppGroupManager none;
    const auto& loaded = sharedLoad();
    return loaded.manager ? *loaded.manager : none;
}

AppVender AppGroupManager::getVender(const CaseInsensitiveString& id) const {
    std::string key = id.lowercaseString();
    for (const auto& [vender, ids] : appVenderIDDict_)
        if (ids.count(key))
            return vender;
    auto byDomain = venderDomainDict_.find(domainOfBundleID(key));
    return byDomain == venderDomainDict_.end() ? AppVender::other : byDomain->second;
}

std::optional<AppGroup> AppGroupManager::getGroup(const CaseInsensitiveString& id) const {
    std::string key = id.lowercaseString();
    for (const auto& [group, ids] : appGroupsIDDict_)
        if (ids.count(key))
            return group;
    return std::nullopt;
}

} // namespace core
