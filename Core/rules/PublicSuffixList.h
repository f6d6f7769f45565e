// The published list of public suffixes as a tree of labels, to tell the organisation a bundle
// identifier names: "com.example.app" and "uk.co.example.app" both give "example". Labels compare
// without regard to case, as domain names do.
//
// Threading: immutable after construction; read from any thread.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace core {

struct PublicSuffixRule {
    // The labels down to here are a public suffix themselves.
    bool isSuffix = false;
    std::map<std::string, std::unique_ptr<PublicSuffixRule>> next;
    // Present where the list has a wildcard below this label; holds the labels its exceptions
    // name.
    std::optional<std::set<std::string>> exclude;
};

class PublicSuffixList {
public:
    // From the text of the list, in its published format.
    explicit PublicSuffixList(const std::string& text);

    struct LoadResult {
        std::shared_ptr<const PublicSuffixList> list;
        // Why the list was refused, when list is null.
        std::string error;
    };
    // A file that cannot be read or holds no rule is refused: an empty list would quietly give
    // every application no organisation.
    static LoadResult fromFile(const std::string& path);
    // The process-wide load of "public_suffix_list.dat" of the resources folder, made at first use;
    // a host checks it before a scan.
    static const LoadResult& sharedLoad();
    // The process-wide list; an empty one when sharedLoad() failed.
    static const PublicSuffixList& shared();

    // The registrable label of the domain a bundle identifier reads backwards; absent when the
    // identifier is nothing but a public suffix or its top label is unknown.
    std::optional<std::string> organization(const std::string& bundleID) const;

    std::size_t ruleCount() const { return ruleCount_; }

private:
    std::map<std::string, std::unique_ptr<PublicSuffixRule>> publicSuffixRules_;
    std::size_t ruleCount_ = 0;
};

} // namespace core
