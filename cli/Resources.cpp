#include "cli/Resources.h"

#include "cli/Command.h"

#include "Core/rules/AppGroupManager.h"
#include "Core/rules/PublicSuffixList.h"
#include "Core/rules/RuleManager.h"

namespace tidewell {
namespace {

void require(const std::string& loadError) {
    if (!loadError.empty())
        throw UsageError(loadError);
}

} // namespace

void requireApplicationResources() {
    require(core::RuleManager::sharedLoad().error);
    require(core::PublicSuffixList::sharedLoad().error);
}

void requireOrganisationResources() {
    require(core::PublicSuffixList::sharedLoad().error);
    require(core::AppGroupManager::sharedLoad().error);
}

} // namespace tidewell
