#include "quillmoor/platform/linux/desktop/registration_linux.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <optional>
#include <thread>

#include "quillmoor/platform/platform.h"
#include "tests/platform/support/failing_calls.h"
#include "tests/platform/support/file_fixtures.h"
#include "tests/platform/support/scoped_environment.h"
#include "tests/support/forwarding.h"

namespace quillmoor::platform {
namespace {

namespace fs = std::filesystem;
using test::ScopedEnvironment;

constexpr char kIdentifier[] = "org.example.Registered-1";

class SomeUser : public test::ForwardingProcessInfo {
  public:
    unsigned realUserId() override { return id; }
    unsigned id = 1000;
};

// No application folders, so that only entries lead to an application.
class NoApplications : public test::ForwardingLocations {
  public:
    StringList searchPaths(SearchPathDirectory, SearchPathDomainMask) override { return {}; }
    OptionalString consoleUser() override { return user; }
    OptionalPath homeDirectoryForUser(const OptionalString&) override { return home; }
    OptionalString user;
    OptionalPath home;
};

class CountsThreads : public test::ForwardingMainThread {
  public:
    void detachNewThread(std::function<void()> body) override {
        ++count;
        next().detachNewThread(std::move(body));
    }
    int count = 0;
};

class Registration : public testing::Test {
  protected:
    Registration() {
        platform_->processInfo = &process_;
        platform_->locations = &locations_;
        platform_->mainThread = &threads_;
    }

    // An application with `keys` in its information dictionary, and its program.
    std::string makeApplication(const std::string& name, const std::string& keys) const {
        folder_.writeFile(name + "/Contents/Info.plist",
                          "<plist><dict>" + keys + "</dict></plist>");
        ::chmod(folder_.writeFile(name + "/Contents/Linux/run").c_str(), 0755);
        return folder_ / name;
    }
    static std::string key(const std::string& name, const std::string& value) {
        return "<key>" + name + "</key><string>" + value + "</string>";
    }
    std::string makeApplication(const std::string& name = "Tally.app") const {
        return makeApplication(name, key("CFBundleIdentifier", kIdentifier));
    }

    static std::int32_t registerAt(const std::string& path) {
        return native().applications->registerApplication(path);
    }
    static OptionalPath found(const std::string& identifier = kIdentifier) {
        return native().applications->absolutePathForAppBundle(identifier);
    }
    std::string entries() const { return folder_ / "data/applications"; }
    std::string entry() const { return entries() + "/" + kIdentifier + ".desktop"; }

    test::TempFolder folder_;
    ScopedEnvironment data_{"XDG_DATA_HOME", folder_ / "data"};
    ScopedEnvironment others_{"XDG_DATA_DIRS", folder_ / "none"};
    ScopedEnvironment path_{"PATH", folder_ / "bin"};
    SomeUser process_;
    NoApplications locations_;
    CountsThreads threads_;
    test::ScopedPlatform platform_;
};

TEST_F(Registration, ARegisteredApplicationIsFound) {
    const std::string path = makeApplication();
    EXPECT_EQ(found(), std::nullopt);
    EXPECT_EQ(registerAt(path), 0);
    EXPECT_EQ(found(), path);
    EXPECT_EQ(test::readFile(entry()),
              "[Desktop Entry]\nType=Application\nName=Tally\nTryExec=" + path +
                  "/Contents/Linux/run\nExec=\"" + path + "/Contents/Linux/run\"\n");
    EXPECT_EQ(test::listing(entries()), std::string(kIdentifier) + ".desktop");
}

TEST_F(Registration, WithoutADataFolderInTheEnvironmentItIsTheHomes) {
    const ScopedEnvironment none("XDG_DATA_HOME", nullptr);
    const ScopedEnvironment home("HOME", folder_ / "home");
    const std::string path = makeApplication();
    EXPECT_EQ(registerAt(path), 0);
    EXPECT_EQ(found(), path);
    EXPECT_TRUE(test::somethingAt(folder_ / "home/.local/share/applications"));
}

TEST_F(Registration, ANastyPathIsFoundAgain) {
    for (const char* name : {"with blank.app", "100%.app", "%f %%u.APP", "a\nb\tc\rd.app",
                             "\"q\" 'r'.app", "$HOME `id`.app", "back\\slash\\n.app", "-x.app",
                             "\xff\xfe.app", "caf\u00e9;#=.app", " .app", "X.app/Y.app"}) {
        const std::string path = makeApplication(name);
        EXPECT_EQ(registerAt(path), 0) << name;
        EXPECT_EQ(found(), path) << name;
    }
}

TEST_F(Registration, UsesTheDisplayNameElseTheBundlesElseTheFolders) {
    const std::string identifier = key("CFBundleIdentifier", kIdentifier);
    const std::string name = key("CFBundleName", "Short");
    const std::string shown = key("CFBundleDisplayName", "To\nShow");
    const auto hasName = [&](const std::string& keys, const std::string& expected) {
        EXPECT_EQ(registerAt(makeApplication("Fol der.app", keys)), 0);
        EXPECT_NE(test::readFile(entry()).find("\nName=" + expected + "\n"), std::string::npos);
    };
    hasName(identifier + name + shown, "ToShow");
    hasName(identifier + name, "Short");
    hasName(identifier + key("CFBundleName", ""), "Fol der");
}

TEST_F(Registration, ReplacesAnEarlierRegistration) {
    const std::string first = makeApplication("First.app");
    const std::string second = makeApplication("Second.app");
    EXPECT_EQ(registerAt(first), 0);
    EXPECT_EQ(registerAt(first), 0);
    EXPECT_EQ(registerAt(second), 0);
    EXPECT_EQ(found(), second);
}

TEST_F(Registration, AnEntryThatHidesItIsReplaced) {
    const std::string path = makeApplication();
    const std::string elsewhere = folder_.writeFile("elsewhere", "untouched");
    folder_.makeFolder("data/applications");
    folder_.makeLink("data/applications/" + std::string(kIdentifier) + ".desktop", elsewhere);
    EXPECT_EQ(registerAt(path), 0);
    EXPECT_EQ(found(), path);
    EXPECT_EQ(test::readFile(elsewhere), "untouched");
}

TEST_F(Registration, APathMayBeRelativeOrALinkOrEndInASlash) {
    const std::string path = makeApplication();
    const auto before = fs::current_path();
    fs::current_path(folder_.path());
    EXPECT_EQ(registerAt("Tally.app"), 0);
    fs::current_path(before);
    EXPECT_EQ(found(), path);
    EXPECT_EQ(registerAt(path + "//"), 0);
    EXPECT_EQ(found(), path);
    const std::string link = folder_.makeLink("Link.app", "Tally.app");
    EXPECT_EQ(registerAt(link), 0);
    EXPECT_EQ(found(), link);
}

TEST_F(Registration, AMissingPathIsNotRegistered) {
    for (const std::string& path :
         {folder_ / "Gone.app", std::string(), makeApplication() + std::string("\0.app", 5),
          folder_.makeLink("Dangling.app", "Gone.app")})
        EXPECT_EQ(registerAt(path), ENOENT) << path;
    EXPECT_FALSE(test::somethingAt(folder_ / "data"));
}

TEST_F(Registration, RejectsAnItemThatIsNotAnApplication) {
    const std::string identifier = key("CFBundleIdentifier", kIdentifier);
    folder_.makeFolder("Empty.app");
    folder_.writeFile("File.app");
    makeApplication("Plain folder");
    makeApplication("Nameless.app", key("CFBundleName", "x"));
    makeApplication("No program.app");
    fs::remove_all(folder_ / "No program.app/Contents/Linux");
    for (const char* name :
         {"Empty.app", "File.app", "Plain folder", "Nameless.app", "No program.app"})
        EXPECT_EQ(registerAt(folder_ / name), ENOEXEC) << name;
    EXPECT_FALSE(test::somethingAt(folder_ / "data"));
}

TEST_F(Registration, RejectsAnIdentifierThatIsNotAFileName) {
    for (const char* identifier : {"", "../../evil", "a/b", "/", ".hidden", "..", "x\ny", "\x7f"}) {
        const std::string path = makeApplication("Evil.app", key("CFBundleIdentifier", identifier));
        EXPECT_EQ(registerAt(path), ENOEXEC) << identifier;
    }
    EXPECT_FALSE(test::somethingAt(folder_ / "data"));
    const std::string tooLong(300, 'x');
    EXPECT_NE(registerAt(makeApplication("Long.app", key("CFBundleIdentifier", tooLong))), 0);
    EXPECT_EQ(test::listing(entries()), "");
}

TEST_F(Registration, FailsWhenTheEntryCannotBeWritten) {
    folder_.writeFile("data", "a file");
    EXPECT_NE(registerAt(makeApplication()), 0);
    EXPECT_EQ(threads_.count, 0);
}

TEST_F(Registration, TheDesktopsDatabaseIsBroughtUpToDate) {
    const std::string tool = folder_.writeFile(
        "bin/update-desktop-database",
        "#!/bin/sh\nprintf %s \"$1\" > \"$0.new\"\n/bin/mv \"$0.new\" \"$0.called\"\n");
    ::chmod(tool.c_str(), 0755);
    EXPECT_EQ(registerAt(makeApplication()), 0);
    for (int i = 0; i < 1000 && !test::somethingAt(tool + ".called"); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(test::readFile(tool + ".called"), entries());
}

TEST_F(Registration, EveryCallMayFail) {
    const std::string path = makeApplication();
    const int before = test::openDescriptors();
    for (int nth = 1;; ++nth) {
        std::int32_t status = 0;
        bool happened = false;
        {
            const test::FailingCalls failing(nth, EIO);
            status = registerAt(path);
            happened = failing.happened();
        }
        EXPECT_EQ(test::somethingAt(entry()), status == 0) << "call " << nth;
        const bool made = test::somethingAt(entries());
        EXPECT_EQ(made && !test::listing(entries()).empty(), status == 0) << "call " << nth;
        if (!happened) {
            EXPECT_EQ(status, 0);
            EXPECT_GT(nth, 8);
            break;
        }
        fs::remove_all(folder_ / "data");
    }
    EXPECT_EQ(test::openDescriptors(), before);
}

// Root registers for the user at the console, who controls that home.
class RootRegistration : public Registration {
  protected:
    void SetUp() override {
        if (!test::isRoot()) GTEST_SKIP() << "for root";
        user_.emplace(folder_);
        if (!user_->available()) GTEST_SKIP() << "no private mounts here";
        process_.id = 0;
        locations_.user = "kxtester";
        locations_.home = user_->home();
    }

    std::string inHome(const std::string& name) const { return user_->home() + "/" + name; }
    static unsigned ownerOf(const std::string& path) {
        struct stat status {};
        EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
        return status.st_uid;
    }

    std::optional<test::FakeUser> user_;
};

TEST_F(RootRegistration, TheEntryAndItsFoldersBelongToTheUserAtTheConsole) {
    const std::string path = makeApplication();
    ASSERT_EQ(registerAt(path), 0);
    EXPECT_EQ(found(), path);
    const std::string file = std::string("/") + kIdentifier + ".desktop";
    for (const std::string& each :
         {std::string(), std::string("/share"), std::string("/share/applications"),
          "/share/applications" + file})
        EXPECT_EQ(ownerOf(inHome(".local") + each), test::FakeUser::kId) << each;
    EXPECT_FALSE(test::somethingAt(folder_ / "data"));
}

TEST_F(RootRegistration, FailsWithoutAConsoleUser) {
    locations_.user = std::nullopt;
    EXPECT_EQ(registerAt(makeApplication()), ENOENT);
    EXPECT_FALSE(test::somethingAt(inHome(".local")));
}

TEST_F(RootRegistration, NoLinkOfTheUsersIsFollowed) {
    const std::string path = makeApplication();
    const std::string target = folder_.makeFolder("target");
    for (const char* name : {".local", ".local/share", ".local/share/applications"}) {
        fs::remove_all(inHome(".local"));
        if (std::string(name) != ".local") user_->makeFolder(fs::path(name).parent_path());
        fs::create_symlink(target, inHome(name));
        EXPECT_NE(registerAt(path), 0) << name;
        EXPECT_EQ(test::listing(target), "") << name;
    }
}

TEST_F(RootRegistration, AnEntryThatIsALinkIsReplacedItself) {
    const std::string path = makeApplication();
    const std::string target = folder_.writeFile("target", "untouched");
    const std::string file = user_->makeFolder(".local/share/applications") + "/" + kIdentifier;
    fs::create_symlink(target, file + ".desktop");
    EXPECT_EQ(registerAt(path), 0);
    EXPECT_EQ(test::readFile(target), "untouched");
    EXPECT_EQ(found(), path);
}

TEST_F(RootRegistration, WritesNothingThroughAFolderSwappedForALink) {
    const std::string path = makeApplication();
    const std::string target = folder_.makeFolder("target");
    user_->makeFolder(".local/share");
    fs::create_symlink(target, inHome("exchanged"));
    {
        const test::ExchangedBeforeOpening exchange("share", inHome(".local/share"),
                                                    inHome("exchanged"));
        EXPECT_NE(registerAt(path), 0);
        EXPECT_TRUE(exchange.happened());
    }
    EXPECT_EQ(test::listing(target), "");
}

TEST_F(RootRegistration, NoLinkInTheApplicationIsRead) {
    const std::string path = makeApplication();
    const std::string other = makeApplication("Other.app");
    fs::remove(path + "/Contents/Info.plist");
    fs::create_symlink(other + "/Contents/Info.plist", path + "/Contents/Info.plist");
    EXPECT_EQ(registerAt(path), ENOEXEC);
    fs::remove_all(path + "/Contents");
    fs::create_symlink(other + "/Contents", path + "/Contents");
    EXPECT_EQ(registerAt(path), ENOEXEC);
}

TEST_F(RootRegistration, NoToolIsStartedInTheUsersFolder) {
    ::chmod(folder_.writeFile("bin/update-desktop-database", "#!/bin/sh\n").c_str(), 0755);
    EXPECT_EQ(registerAt(makeApplication()), 0);
    EXPECT_EQ(threads_.count, 0);
}

}  // namespace
}  // namespace quillmoor::platform
