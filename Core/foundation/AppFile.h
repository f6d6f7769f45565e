// Who owns a found file and what kind of file it is, and the records scans report per
// application.
//
// Threading: plain values, safe to copy between queues; only AppFile::size is ever changed after
// construction, by the walker that made the record.
#pragma once

#include "Core/foundation/CaseInsensitiveString.h"
#include "Core/foundation/File.h"

#include <optional>
#include <vector>

namespace core {

// The kind of a found file, named in the rule document by its key. A key that is none of the
// twelve known ones is kept verbatim as `other`.
class AppFileKind {
public:
    enum class Tag {
        log,
        cache,
        container,
        support,
        preference,
        cookie,
        library,
        loginItems,
        crashReports,
        plugins,
        shared,
        preferencePanes,
        other
    };

    AppFileKind(Tag tag) : tag_(tag) {}
    static AppFileKind other(std::string key) { return AppFileKind(Tag::other, std::move(key)); }
    // Matched exactly, case included: "Log" is other("Log").
    static AppFileKind fromKey(const std::string& key);

    Tag tag() const { return tag_; }
    // The key under which the rule document names this kind.
    std::string key() const;

    friend bool operator==(const AppFileKind&, const AppFileKind&) = default;

private:
    AppFileKind(Tag tag, std::string payload) : tag_(tag), payload_(std::move(payload)) {}
    Tag tag_;
    std::string payload_;
};

// One of the three identities by which a desktop application is recognised.
struct MacAppID {
    enum class Type { bundleID, bundleName, organization };
    Type type;
    CaseInsensitiveString id;

    static MacAppID bundleID(CaseInsensitiveString id) { return {Type::bundleID, std::move(id)}; }
    static MacAppID bundleName(CaseInsensitiveString id) { return {Type::bundleName, std::move(id)}; }
    static MacAppID organization(CaseInsensitiveString id) { return {Type::organization, std::move(id)}; }
    friend bool operator==(const MacAppID&, const MacAppID&) = default;
};

// The owner of a found file: a desktop application by one of its identities, or an owner known
// only by a plain identifier.
struct App {
    enum class Type { macApp, app };
    Type type;
    MacAppID macAppID{MacAppID::Type::bundleID, {}};
    CaseInsensitiveString appID;

    static App macApp(MacAppID id) { return {Type::macApp, std::move(id), {}}; }
    static App app(CaseInsensitiveString id) {
        return {Type::app, {MacAppID::Type::bundleID, {}}, std::move(id)};
    }
    // The identifier whatever the alternative.
    const CaseInsensitiveString& id() const { return type == Type::macApp ? macAppID.id : appID; }
    friend bool operator==(const App&, const App&) = default;
};

class AppFile {
public:
    AppFile(URL url, AppFileKind kind, App owner, std::int64_t size = 0)
        : url(std::move(url)), size(size), kind(std::move(kind)), owner(std::move(owner)) {}

    AppFile copyWith(const AppFileKind& newKind) const { return AppFile(url, newKind, owner, size); }
    std::string sizeString() const { return core::sizeString(size); }

    URL url;
    std::int64_t size;
    AppFileKind kind;
    App owner;
};

struct AppFileSet {
    std::vector<File> apps;
    std::vector<AppFile> files;
};

struct MacAppJunkFile {
    URL appURL;
    CaseInsensitiveString bundleID;
    std::vector<AppFile> files;
};

struct AppJunkFile {
    CaseInsensitiveString id;
    std::vector<AppFile> files;
};

} // namespace core

template <> struct std::hash<core::AppFileKind> {
    std::size_t operator()(const core::AppFileKind& kind) const noexcept {
        std::size_t tag = static_cast<std::size_t>(kind.tag());
        if (kind.tag() != core::AppFileKind::Tag::other)
            return tag;
        return tag ^ (std::hash<std::string>()(kind.key()) << 1);
    }
};
