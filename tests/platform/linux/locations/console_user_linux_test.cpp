#include "quillmoor/platform/linux/locations/console_user_linux.h"

#include <gtest/gtest.h>
#include <string.h>
#include <unistd.h>

#include <cerrno>

#include "quillmoor/platform/platform.h"
#include "quillmoor/platform/posix/ground/users_posix.h"
#include "tests/platform/support/scoped_environment.h"

namespace quillmoor::platform::linux_ {
namespace {

// The results of these tests' login manager.
struct Session {
    int active = 0;
    uid_t user = 0;
    int classified = 0;
    const char* sessionClass = "user";
    std::string askedSeat;
    std::string askedSession;
};
Session session;

const LoginManager kManager{[](const char* seat, char** name, uid_t* user) {
                                session.askedSeat = seat;
                                if (session.active >= 0) *name = ::strdup("c7");
                                *user = session.user;
                                return session.active;
                            },
                            [](const char* name, char** sessionClass) {
                                session.askedSession = name;
                                if (session.classified >= 0)
                                    *sessionClass = ::strdup(session.sessionClass);
                                return session.classified;
                            }};

TEST(ConsoleUser, IsTheUserOfTheFirstSeatsActiveSession) {
    session = {};
    session.user = 0;
    EXPECT_EQ(consoleUser(&kManager), posix::userWithId(0)->name);
    EXPECT_EQ(session.askedSeat, "seat0");
    EXPECT_EQ(session.askedSession, "c7");
}

TEST(ConsoleUser, AGreeterIsTheLoginWindow) {
    session = {};
    session.sessionClass = "greeter";
    EXPECT_EQ(consoleUser(&kManager), "loginwindow");
    session.sessionClass = "lock-screen";
    EXPECT_EQ(consoleUser(&kManager), "loginwindow");
}

TEST(ConsoleUser, IsNilWithoutAnActiveSession) {
    session = {};
    session.active = -ENODATA;
    EXPECT_EQ(consoleUser(&kManager), std::nullopt);
}

TEST(ConsoleUser, IsNilForASessionThatEndedMeanwhile) {
    session = {};
    session.classified = -ENXIO;
    EXPECT_EQ(consoleUser(&kManager), std::nullopt);
}

TEST(ConsoleUser, IsNilForAnUnknownUser) {
    session = {};
    session.user = 4242424;
    EXPECT_EQ(consoleUser(&kManager), std::nullopt);
}

TEST(ConsoleUser, IsNilWithoutALoginManager) {
    EXPECT_EQ(consoleUser(nullptr), std::nullopt);
}

TEST(ConsoleUser, DoesNotDependOnTheUserOfSudo) {
    const std::optional<posix::User> caller = posix::userWithId(1);
    ASSERT_TRUE(caller);
    const test::ScopedEnvironment sudoUser("SUDO_USER", caller->name);
    const test::ScopedEnvironment sudoId("SUDO_UID", "1");
    const test::ScopedEnvironment pkexecId("PKEXEC_UID", "1");
    const test::ScopedEnvironment user("USER", caller->name);
    const test::ScopedEnvironment login("LOGNAME", caller->name);
    session = {};
    session.user = 0;
    EXPECT_EQ(consoleUser(&kManager), posix::userWithId(0)->name);
    session.active = -ENODATA;
    EXPECT_EQ(consoleUser(&kManager), std::nullopt);
    EXPECT_EQ(consoleUser(nullptr), std::nullopt);
    EXPECT_EQ(native().locations->consoleUser(), consoleUser(loginManager()));
}

TEST(LoginManager, IsLoadedOnceWhereItsLibraryIs) {
    const LoginManager* manager = loginManager();
    EXPECT_EQ(loginManager(), manager);
    if (manager == nullptr) GTEST_SKIP() << "no libsystemd here";
    EXPECT_NE(manager->seatGetActive, nullptr);
    EXPECT_NE(manager->sessionGetClass, nullptr);
    char* name = nullptr;
    uid_t user = 0;
    EXPECT_LT(manager->seatGetActive("no such seat", &name, &user), 0);
}

}  // namespace
}  // namespace quillmoor::platform::linux_
