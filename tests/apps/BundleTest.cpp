#include "Core/apps/AppBundle.h"
#include "Core/apps/ApplicationList.h"
#include "Core/platform/Process.h"
#include "Core/platform/PropertyList.h"

#include "tests/support/AppFixtures.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <sys/xattr.h>
#include <unistd.h>

using namespace core;
using namespace core::testing;

namespace {

std::vector<std::string> texts(const std::vector<CaseInsensitiveString>& values) {
    std::vector<std::string> origins;
    for (const auto& value : values)
        origins.push_back(value.origin());
    return origins;
}

class BundleTest : public ::testing::Test {
protected:
    TempTree root, home;
    ScopedSystemPaths paths{root.path(), home.path()};
    ScopedMountTable volumes{{}};
};

TEST_F(BundleTest, ReadsIdentityAndNames) {
    auto named = MacAppBundle::make(
        URL::fileURL(writeBundle(root, "Applications/Example.app", "com.example.app", "Example Pro")));
    ASSERT_TRUE(named);
    EXPECT_EQ(named->bundleID(), CaseInsensitiveString("com.example.app"));
    EXPECT_EQ(texts(named->bundleNames()), (std::vector<std::string>{"Example Pro", "Example"}));

    auto unnamed =
        MacAppBundle::make(URL::fileURL(writeBundle(root, "Applications/Tool.app", "com.example.tool")));
    ASSERT_TRUE(unnamed);
    EXPECT_EQ(unnamed->bundleNames().front().origin(), "main");
}

TEST_F(BundleTest, RefusesWhatIsNoApplicationLikeBundle) {
    writePlist(root.at("A.app/Contents/Info.plist"),
               {{"CFBundleIdentifier", "com.a"}, {"CFBundleExecutable", "a"}});
    root.file("A.app/Contents/Tools/a", 10);
    EXPECT_FALSE(MacAppBundle::make(URL::fileURL(root.at("A.app"))));
    writePlist(root.at("B.app/Contents/Info.plist"), {{"CFBundleExecutable", "b"}});
    root.file("B.app/Contents/MacOS/b", 10);
    EXPECT_FALSE(MacAppBundle::make(URL::fileURL(root.at("B.app"))));
    writePlist(root.at("C.app/Contents/Info.plist"),
               {{"CFBundleIdentifier", "com.c"}, {"CFBundleExecutable", "c"}});
    EXPECT_FALSE(MacAppBundle::make(URL::fileURL(root.at("C.app"))));
    EXPECT_FALSE(MacAppBundle::make(URL::fileURL(root.at("missing.app"))));
}

TEST_F(BundleTest, NestedCodeIsFoundOnlyWhereCodeIsKept) {
    auto app = writeBundle(root, "Applications/Suite.app", "com.example.suite", "Suite");
    writeBundle(root, "Applications/Suite.app/Contents/Library/LoginItems/Launcher.app",
                "com.example.launcher", "Launcher");
    writeBundle(
        root, "Applications/Suite.app/Contents/Library/LoginItems/Launcher.app/Contents/PlugIns/Share.appex",
        "com.example.share", "Share");
    writeBundle(root,
                "Applications/Suite.app/Contents/Frameworks/Kit.framework/Versions/A/XPCServices/Render.xpc",
                "com.example.render", "Render");
    writeBundle(root, "Applications/Suite.app/Contents/Resources/Sample.app", "com.example.sample", "Sample");
    auto bundle = MacAppBundle::make(URL::fileURL(app));
    ASSERT_TRUE(bundle);
    bundle->loadSubBundles();
    auto ids = texts(bundle->bundleIDs());
    std::sort(ids.begin(), ids.end());
    EXPECT_EQ(ids,
              (std::vector<std::string>{"com.example.launcher", "com.example.render", "com.example.share"}));
}

TEST_F(BundleTest, WrappedApplicationsAreKnownByTheirContainer) {
    writePlist(root.at("Applications/Game.app/WrappedBundle/Info.plist"),
               {{"CFBundleIdentifier", "com.example.game"}});
    writePlist(root.at("Applications/Game.app/WrappedBundle/PlugIns/Widget.appex/Info.plist"),
               {{"CFBundleIdentifier", "com.example.game.widget"}});
    writePlist(home.at("Library/Containers/1A2B/.com.apple.containermanagerd.metadata.plist"),
               {{"MCMMetadataIdentifier", "com.example.game"}});
    writePlist(home.at("Library/Containers/3C4D/.com.apple.containermanagerd.metadata.plist"),
               {{"MCMMetadataIdentifier", "com.example.game.widget"}});
    AppBundleLoader loader;
    auto bundle = loader.load(URL::fileURL(root.at("Applications/Game.app")));
    ASSERT_TRUE(bundle);
    EXPECT_EQ(bundle->bundleID().origin(), "1A2B");
    bundle->loadSubBundles();
    EXPECT_EQ(texts(bundle->bundleIDs()), (std::vector<std::string>{"3C4D"}));

    writePlist(root.at("Elsewhere/Game.app/WrappedBundle/Info.plist"),
               {{"CFBundleIdentifier", "com.example.game"}});
    EXPECT_FALSE(loader.load(URL::fileURL(root.at("Elsewhere/Game.app"))));
    // Without a container the identifier matches nothing, and differs each time.
    EXPECT_NE(loader.uuidMapper->uuid("com.example.none"), loader.uuidMapper->uuid("com.example.none"));
}

TEST_F(BundleTest, PropertyListsMustHoldADictionary) {
    writePlist(root.at("dict.plist"), {{"Key", "Value"}});
    EXPECT_EQ(stringValue(*readPlistContent(root.at("dict.plist")), "Key"), "Value");
    std::ofstream(root.file("array.plist"))
        << "<?xml version=\"1.0\"?><plist version=\"1.0\"><array><string>x</string></array></plist>";
    EXPECT_FALSE(readPlistContent(root.at("array.plist")).has_value());
    std::ofstream(root.file("junk.plist")) << "not a property list";
    EXPECT_FALSE(readPlistContent(root.at("junk.plist")).has_value());
    EXPECT_FALSE(readPlistContent(root.at("missing.plist")).has_value());
}

TEST_F(BundleTest, ApplicationListUnitesSourcesAndFiltersNestedBundles) {
    writeBundle(root, "Applications/One.app", "com.example.one");
    writeBundle(root, "Applications/Utilities/Two.app", "com.example.two");
    writeBundle(root, "Applications/One.app/Contents/Helpers/Helper.app", "com.example.helper");
    writeBundle(home, "Applications/Mine.app", "com.example.mine");
    writeBundle(root, "Elsewhere/Linked.app", "com.example.linked");
    // On a volume, an absolute link names a path of that volume, never one of the host.
    ::symlink("/Elsewhere/Linked.app", root.at("Applications/Linked.app").c_str());
    TempTree host;
    writeBundle(host, "Applications/Host.app", "com.example.host");
    ::symlink(host.at("Applications/Host.app").c_str(), root.at("Applications/Host.app").c_str());
    auto urls = filteredApplicationURLs({URL::fileURL(root.at("Applications/Utilities/Two.app"))});
    std::vector<std::string> found;
    for (const auto& url : urls)
        found.push_back(url.path());
    std::vector<std::string> expected = {home.at("Applications/Mine.app"), root.at("Applications/One.app"),
                                         root.at("Elsewhere/Linked.app")};
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(found, expected);
    EXPECT_FALSE(passesApplicationPathFilter("/Applications/X.app/Contents/Helpers/Y.app"));
    EXPECT_FALSE(passesApplicationPathFilter("/Library/Frameworks/Kit.framework/Versions/A/Z.app"));
    EXPECT_FALSE(passesApplicationPathFilter("/Users/ann/Parallels/Win.pvm/Windows Applications/W.app"));
    EXPECT_FALSE(passesApplicationPathFilter("/Users/ann/.hidden/H.app"));
    EXPECT_TRUE(passesApplicationPathFilter("/Applications/X.app"));
}

TEST_F(BundleTest, RootlessPathsCarryTheAttribute) {
    auto protectedApp = writeBundle(root, "Applications/System.app", "com.apple.system");
    EXPECT_FALSE(rootless(URL::fileURL(protectedApp)));
    ASSERT_EQ(::setxattr(protectedApp.c_str(), "user.com.apple.rootless", "", 0, 0), 0);
    EXPECT_TRUE(rootless(URL::fileURL(protectedApp)));
}

TEST(TaskSyncRunner, ReadsTheOutputOfARealChild) {
    EXPECT_EQ(taskSyncRunner("/bin/sh", {"-c", "printf 'one\\ntwo'"}), "one\ntwo");
    EXPECT_EQ(taskSyncRunner("/nonexistent/tool", {}), "");
    CommandTable::shared().setReplacement("/usr/bin/mdfind", "/bin/echo");
    EXPECT_EQ(taskSyncRunner("/usr/bin/mdfind", {"kMDItemContentType"}), "kMDItemContentType\n");
    CommandTable::shared().setReplacement("/usr/bin/mdfind", "");
    EXPECT_EQ(taskSyncRunner("/bin/sh", {"-c", "printf '\\377\\376'"}), "");
}

TEST(TaskSyncRunner, SaysHowTheCommandEnded) {
    TaskStatus status;
    EXPECT_EQ(taskSyncRunner("/bin/sh", {"-c", "printf ok"}, status), "ok");
    EXPECT_TRUE(status.succeeded());

    EXPECT_EQ(taskSyncRunner("/nonexistent/tool", {}, status), "");
    EXPECT_EQ(status.ending, TaskStatus::Ending::notStarted);

    EXPECT_EQ(taskSyncRunner("/bin/sh", {"-c", "printf partial; exit 3"}, status), "partial");
    EXPECT_EQ(status.ending, TaskStatus::Ending::exited);
    EXPECT_EQ(status.code, 3);
    EXPECT_FALSE(status.succeeded());

    EXPECT_EQ(taskSyncRunner("/bin/sh", {"-c", "kill -TERM $$"}, status), "");
    EXPECT_EQ(status.ending, TaskStatus::Ending::signalled);
    EXPECT_EQ(status.code, SIGTERM);

    EXPECT_EQ(taskSyncRunner("/bin/sh", {"-c", "printf '\\377'"}, status), "");
    EXPECT_EQ(status.ending, TaskStatus::Ending::exited);
    EXPECT_FALSE(status.outputIsText);
    EXPECT_FALSE(status.succeeded());
}

TEST(RegisteredApplications, ComeFromTheRegisterDumpOnlyWhenItSucceeds) {
    TempTree tools;
    EXPECT_TRUE(registeredApplicationIDs().empty());
    {
        ScopedCommand dump(
            launchServicesRegister,
            writeScript(tools, "dump", "printf 'id: com.one\\n\\nplain line\\nid:  com.two \\n'"));
        EXPECT_EQ(registeredApplicationIDs(), (std::vector<std::string>{"com.one", "com.two"}));
    }
    ScopedCommand failing(launchServicesRegister,
                          writeScript(tools, "fail", "printf 'id: com.one\\n'; exit 1"));
    EXPECT_TRUE(registeredApplicationIDs().empty());
}

} // namespace
