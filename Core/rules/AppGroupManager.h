// Which software vendor made an application, and which product group it belongs to, from two
// small documents beside the library ("app_vender.yaml", "app_group.yaml"), so that related
// applications can be shown together.
//
// Threading: immutable after construction; read from any thread.
#pragma once

#include "Core/foundation/CaseInsensitiveString.h"

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace core {

enum class AppVender {
    adobe,
    apple,
    box,
    cleverFiles,
    corel,
    devonThink,
    marrowe,
    dymo,
    epson,
    google,
    intego,
    jetBrains,
    microsoft,
    obdev,
    skylum,
    wacom,
    wondershare,
    other
};
const char* rawName(AppVender vender);

class AppGroup {
public:
    enum class Case {
        other,
        cleverFiles,
        adobeCommon,
        flashPlayer,
        box,
        corel,
        devonThink,
        dymo,
        epson,
        intego,
        microsoftOffice,
        skylum,
        wacom,
        drFone,
        bitdefender,
        anaconda,
        sophos
    };

    // The case whose group name this is, or `other` holding the name.
    static AppGroup named(const std::string& groupName);
    Case groupCase() const { return case_; }
    std::string groupName() const;
    const std::optional<std::string>& url() const { return url_; }

    friend bool operator==(const AppGroup&, const AppGroup&) = default;

private:
    Case case_ = Case::other;
    std::string otherName_;
    std::optional<std::string> url_;
};

class AppGroupManager {
public:
    struct LoadResult {
        std::shared_ptr<const AppGroupManager> manager;
        std::string error;
    };
    // From the texts of the two documents; a text that is not a mapping of entries is refused.
    static LoadResult fromDocuments(const std::string& vendorYaml, const std::string& groupYaml);
    // From "app_vender.yaml" and "app_group.yaml" of a folder; a missing document is refused.
    static LoadResult fromFolder(const std::string& folder);
    // The process-wide load of the documents of the resources folder, made at first use; a host
    // checks it before it relies on vendors or groups.
    static const LoadResult& sharedLoad();
    // The process-wide vendors and groups; none known when sharedLoad() failed.
    static const AppGroupManager& shared();

    // Never fails: the listed identifiers first, then the vendor of the identifier's domain, then
    // `other`.
    AppVender getVender(const CaseInsensitiveString& id) const;
    std::optional<AppGroup> getGroup(const CaseInsensitiveString& id) const;

private:
    AppGroupManager() = default;
    std::unordered_map<AppVender, std::unordered_set<std::string>> appVenderIDDict_;
    std::unordered_map<std::string, AppVender> venderDomainDict_;
    std::vector<std::pair<AppGroup, std::unordered_set<std::string>>> appGroupsIDDict_;
};

// "com.example.app" reads the domain "example.com": the first two labels, turned round.
std::string domainOfBundleID(const std::string& lowercasedID);

} // namespace core
